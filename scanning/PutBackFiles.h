#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "clamav/Verdict.h"
#include "posix/Mutex.h"
#include "posix/UniqueFd.h"
#include "scanning/PutBackEntry.h"

namespace quillo {

class Clock;
class SystemLog;

// The infected files that are to be left alone as long as they are what they are: those that the
// user was shown and that then left their places (moved to the trash, into the quarantine, or by
// anybody), for one that lies there again unchanged was put back on purpose; and those that he
// allowed in so many words. They are kept in a file that only this user can read, at most so many,
// and of more the latest; what was allowed goes last.
//
// The file is a line "vantrel-quillo put-back 1" and then a line an entry. Several processes use
// it: who adds holds a lock on it (flock(2)) and appends, or puts a new one in its place when half
// of it is out of date; who asks reads what has been added since. What bears its name and is
// another make's, or others can write to, is not read and set aside when there is something to
// keep; what cannot be read for a while is left alone. Any thread.
class PutBackFiles {
 public:
  static constexpr std::size_t most = 20000;

  // `folder` is made when there is something to keep. What cannot be kept is known as long as this
  // process runs, and the reason is logged. Who holds the lock is not waited for for long: others
  // who can read the file can hold it too.
  PutBackFiles(std::string folder, SystemLog& log, Clock& clock);

  // Keeps a file that left its place, as it was found there.
  void hasLeft(const Verdict& infection, const FilePrint& found);
  // Keeps a file that the scanner moved, to where the verdict says.
  void wasMoved(const Verdict& infection);
  // Keeps a file that its user allows, whatever is found in it: the one that was shown to him.
  // Returns false when that does not bear the path any more, cannot be read, or cannot be kept.
  bool allow(const std::string& path, const FileIdentity& shown);
  // Likewise one that is going to bear it; the hash is that of its contents. Returns why it cannot
  // be kept, so that another process would not know it; "" when it is.
  std::string allow(const std::string& path, const FileIdentity& file, const std::string& hash);
  // Returns true when what lies there now is such a file, unchanged, which is allowed or in which
  // the engine finds the same threat as before.
  bool isPutBack(const Verdict& infection);

 private:
  using Kind = PutBackEntry::Kind;
  using Entry = PutBackEntry;
  using Entries = std::list<Entry>;
  Entries& listOf(Kind kind) QUILLO_REQUIRES(lock_) {
    return kind == Kind::allowed ? allowed_ : entries_;
  }
  std::size_t known() const QUILLO_REQUIRES(lock_) { return allowed_.size() + entries_.size(); }

  // Returns what keep() does.
  std::string add(Entry entry);
  void remember(Entry entry) QUILLO_REQUIRES(lock_);
  void forgetAll() QUILLO_REQUIRES(lock_);
  void drop(Entries::iterator entry) QUILLO_REQUIRES(lock_);
  void unlist(std::uint64_t key, Entries::iterator entry) QUILLO_REQUIRES(lock_);
  // Takes in what has come to the file since.
  void refresh() QUILLO_REQUIRES(lock_);
  void readOn(int file, std::int64_t size) QUILLO_REQUIRES(lock_);
  // Moves out of the way what bears the name and is not to be read. Returns 0 or an errno.
  int setAside() QUILLO_REQUIRES(lock_);
  // Returns what went wrong; "" when the entry is in the file.
  std::string keep(const Entry& entry) QUILLO_REQUIRES(lock_);
  UniqueFd openLocked(std::string& problem) QUILLO_REQUIRES(lock_);
  bool canGrow() const QUILLO_REQUIRES(lock_);
  std::string append(int file, const Entry& entry) QUILLO_REQUIRES(lock_);
  bool writeAnew(bool replaces, std::string& problem) QUILLO_REQUIRES(lock_);
  // Returns the hashes of those that this file may be; "" for one that is known without.
  std::vector<std::string> hashesOf(const Verdict& infection, const FileIdentity& now)
      QUILLO_REQUIRES(lock_);
  static bool isOf(const Entry& entry, const Verdict& infection, const FileIdentity& now);

  // Constant after construction.
  const std::string folder_;
  SystemLog& log_;
  Clock& clock_;
  Mutex lock_;
  // The latest last, in each.
  Entries allowed_ QUILLO_GUARDED_BY(lock_);
  Entries entries_ QUILLO_GUARDED_BY(lock_);
  // By the file, and by the path where that counts.
  std::unordered_multimap<std::uint64_t, Entries::iterator> byKey_ QUILLO_GUARDED_BY(lock_);
  // What could not be written.
  std::vector<Entry> unkept_ QUILLO_GUARDED_BY(lock_);
  // Which file has been read, and how far.
  std::uint64_t device_ QUILLO_GUARDED_BY(lock_) = 0;
  std::uint64_t number_ QUILLO_GUARDED_BY(lock_) = 0;
  std::int64_t read_ QUILLO_GUARDED_BY(lock_) = 0;
  std::size_t lines_ QUILLO_GUARDED_BY(lock_) = 0;
  // What it is otherwise: one that cannot be read just now, or that is none of this program's.
  enum class Contents { notes, unreadable, foreign };
  Contents contents_ QUILLO_GUARDED_BY(lock_) = Contents::notes;
};

}  // namespace quillo
