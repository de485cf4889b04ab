#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>

#include "history/HistoryEntry.h"

namespace quillo {

class SqlConnection;

// The database of the history, as a file in the agent's own folder. It and what SQLite keeps beside
// it belong to this user alone; what somebody else put there is neither followed nor read. Owned by
// one thread.
class HistoryFile {
 public:
  // Which file it is, so that one that took its place is noticed: device and inode.
  using Identity = std::pair<dev_t, ino_t>;
  // What it holds. `empty` is a database that was made and not filled yet.
  enum class Contents { history, empty, newer, foreign };

  // `folder` is the agent's for what it remembers; it need not exist.
  explicit HistoryFile(std::string folder);

  // Returns the path of the database, without a link on its way.
  std::string path() const;
  // Returns which file is there now; nothing when there is none.
  std::optional<Identity> identity() const;
  // Returns why what is there must not be opened; "" when it may, or there is nothing.
  std::string distrust() const;
  // Returns why the folder must not be used, such as that others may write into it; "" when it may,
  // or is not there.
  std::string distrustOfFolder() const;
  // Returns true when SQLite has left something beside it that a new one must not meet.
  bool hasRemains() const;
  // Makes folder and file, unless they are there. Throws PlatformException, also when others may
  // write into the folder.
  void make() const;
  // Gives what is there, and what SQLite keeps beside it, a name with that day in it. Returns the
  // name; throws PlatformException when it stays where it is.
  std::string setAside(CalendarDay day) const;

  static Contents contentsOf(const SqlConnection& connection);
  // Makes the tables of a new history. Throws SqlFailure.
  static void makeTables(const SqlConnection& connection);

 private:
  std::string realFolder() const;

  const std::string folder_;
};

}  // namespace quillo
