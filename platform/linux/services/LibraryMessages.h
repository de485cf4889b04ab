#pragma once

namespace quillo {

class LinuxSystemLog;

// What the libraries of the desktop say of themselves (Qt's messages, GLib's log) goes to the
// system log alone as long as this object lives, for it is nothing that the reader of the scan log
// could act upon. What ends the process is written to standard error as well. One at a time; made
// before the libraries are used.
class LibraryMessages {
 public:
  // The log has to outlive this object.
  explicit LibraryMessages(LinuxSystemLog& log);
  ~LibraryMessages();
  LibraryMessages(const LibraryMessages&) = delete;
  LibraryMessages& operator=(const LibraryMessages&) = delete;
};

}  // namespace quillo
