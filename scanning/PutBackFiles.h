#pragma once

#include <deque>
#include <optional>
#include <string>

#include "clamav/Verdict.h"
#include "posix/FileIdentity.h"
#include "posix/Mutex.h"

namespace quillo {

class SystemLog;

// A file and what it holds, so that it is known again in another place.
struct FilePrint {
  FileIdentity identity;
  std::string hash;  // of its contents, SHA-256; "" when it is too large for that

  // Takes it of the regular file itself that bears that name. Returns nothing when there is none,
  // when it cannot be read, or when it changes meanwhile. Any thread.
  static std::optional<FilePrint> of(const std::string& path);
};

// The infected files that the user was shown and that then left their places: moved to the trash,
// into the quarantine, or by anybody. One that lies there again unchanged was put back on purpose.
// They are kept in a file that only this user can read, at most so many, and of more the latest.
// Any thread.
class PutBackFiles {
 public:
  static constexpr std::size_t most = 200;

  // `folder` is made when there is something to keep. What cannot be kept is known as long as this
  // process runs, and the reason is logged.
  PutBackFiles(std::string folder, SystemLog& log);

  // Keeps a file that left its place, as it was found there.
  void hasLeft(const Verdict& infection, const FilePrint& found);
  // Keeps a file that the scanner moved, to where the verdict says.
  void wasMoved(const Verdict& infection);
  // Returns true when what lies there now is such a file, unchanged, in which the engine finds the
  // same threat as before.
  bool isPutBack(const Verdict& infection);

 private:
  struct Entry {
    std::string path;  // where it was found
    std::string threat;
    FilePrint print;
    // It was copied when it was moved: the time of its contents is that of the move.
    bool isCopy = false;
  };

  void add(Entry entry);
  void readOnce() QUILLO_REQUIRES(lock_);
  void write() QUILLO_REQUIRES(lock_);
  static bool isOf(const Entry& entry, const Verdict& infection, const FileIdentity& now);
  static std::string lineOf(const Entry& entry);
  static std::optional<Entry> entryOf(const std::string& line);

  // Constant after construction.
  const std::string folder_;
  SystemLog& log_;
  Mutex lock_;
  bool isRead_ QUILLO_GUARDED_BY(lock_) = false;
  std::deque<Entry> entries_ QUILLO_GUARDED_BY(lock_);
};

}  // namespace quillo
