#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "helper/Sight.h"

namespace quillo::helper {

// Appends the path of `name` in `folder` (which ends with a slash) as it is printed: as it is, but
// - with a line break in it as an escaped line (escapedPathLine());
// - a file called rsrc in a folder called ..namedfork with "/./" between the two, as the path
//   alone would be taken for a resource fork, which is not scanned.
// Pure.
void appendSpelled(std::string& line, std::string_view folder, std::string_view name);
// Returns the number of bytes that appendSpelled() appends. Pure.
std::size_t spelledLength(std::string_view folder, std::string_view name);

// Collects paths and writes them to a descriptor, a line each, as many at once as fit
// into PIPE_BUF bytes: such a write to a pipe is atomic (pipe(7)), so that no line is ever torn. A
// line that its escapes make longer is written alone, into an empty pipe. A path is written only if
// the witness sees it at the moment before: what was collected may wait for long. Not thread-safe.
class LineWriter {
 public:
  // `end` is a descriptor that becomes readable when nobody wants the lines any longer, or -1.
  LineWriter(int fd, int end, Witness& witness) : fd_(fd), end_(end), witness_(witness) {}

  // Adds the path of `name` in `folder`. Returns false and adds nothing when no program can open
  // it, as it is longer than PATH_MAX. May write what was collected before, and then blocks as long
  // as the pipe is full. Throws ReaderGone, or std::system_error.
  bool add(std::string_view folder, std::string_view name);
  // Writes what is collected; blocks and throws as add().
  void flush();

  // Writes an empty line, which tells the reader that everything that happened before is told. To
  // be called when nothing is collected and poll(2) says that there is room. Returns false when it
  // has to be tried again; throws as add().
  bool mark();
  // Returns true when anything was written since the last mark, or there was none yet.
  bool hasWritten() const { return hasWritten_; }

 private:
  struct Path {
    std::size_t folder;  // lengths of the two parts in `collected_`
    std::size_t name;
  };

  void waitForRoom() const;
  void waitUntilEmpty() const;
  void spellWhatIsSeen();
  std::size_t writeSome(std::string_view bytes);

  const int fd_;
  const int end_;
  Witness& witness_;
  std::vector<Path> paths_;
  std::string collected_;
  std::size_t length_ = 0;  // of all their lines
  std::string lines_;
  bool hasWritten_ = true;
};

}  // namespace quillo::helper
