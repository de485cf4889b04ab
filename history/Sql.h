#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "posix/PlatformException.h"

struct sqlite3;
struct sqlite3_stmt;

namespace quillo {

// A failure of SQLite, by its extended result code (sqlite.org/rescode.html).
class SqlFailure final : public PlatformException {
 public:
  SqlFailure(int code, const std::string& file, const std::string& reason);
  int code() const { return code_; }
  // Returns true when the file holds no sound database, and trying again would not help.
  bool isDamage() const;
  // Returns true when it could not be read: it may be sound, and the disk at fault for a moment.
  bool isUnreadable() const;
  // Returns true when whoever made the database ended over it, before anything was entered, and
  // only one that writes can go on.
  bool isUnfinished() const;

 private:
  int code_;
};

// A statement that is run again and again, with other values bound. What is bound as bytes has to
// live until step() is called. Owned by one thread.
class SqlStatement {
 public:
  SqlStatement(sqlite3* connection, const std::string& file, std::string_view sql);

  // Begins a run: the values follow in the order of their places.
  SqlStatement& begin();
  SqlStatement& with(std::int64_t number);
  SqlStatement& with(std::string_view bytes);
  SqlStatement& withNothing();
  // Returns true when there is a row, whose columns can be read until the next step.
  bool step();
  // Runs it to its end.
  void run();

  std::int64_t number(int column) const;
  // Valid until the next step.
  std::string_view bytes(int column) const;
  bool isNothing(int column) const;

 private:
  void check(int code) const;

  sqlite3* const connection_;
  const std::string file_;
  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement_;
  int place_ = 0;
};

// A connection to a database (sqlite.org/c3ref/open.html) that nobody's links, triggers or views
// are followed in. Owned by one thread.
class SqlConnection {
 public:
  enum class Access { read, write };

  // Opens a database that is there, and never makes one; `path` has no link on it. Throws
  // SqlFailure.
  SqlConnection(const std::string& path, Access access);

  const std::string& path() const { return path_; }
  SqlStatement prepare(std::string_view sql) const;
  // Runs one statement, and passes its rows over.
  void run(std::string_view sql) const { prepare(sql).run(); }
  // Returns the first column of its only row, 0 without one.
  std::int64_t number(std::string_view sql) const;
  std::int64_t lastId() const;
  // Returns how many rows the last statement changed.
  std::int64_t changes() const;
  // Gives back the memory of what was read and is not in use,
  // sqlite.org/c3ref/db_release_memory.html.
  void releaseMemory() const;

 private:
  std::string path_;
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection_;
};

// Everything that is done between its making and keep() is done as a whole, or not at all.
class SqlTransaction {
 public:
  enum class Kind { reading, writing };

  SqlTransaction(const SqlConnection& connection, Kind kind);
  ~SqlTransaction();
  SqlTransaction(const SqlTransaction&) = delete;
  SqlTransaction& operator=(const SqlTransaction&) = delete;
  void keep();

 private:
  const SqlConnection& connection_;
  bool isOpen_ = true;
};

}  // namespace quillo
