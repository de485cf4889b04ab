#include "history/Sql.h"

#include <sqlite3.h>

#include <utility>

namespace quillo {
namespace {

constexpr int longestWaitForOthers = 5000;  // milliseconds

PlatformException::Kind kindOf(int code) {
  switch (code & 0xFF) {
    case SQLITE_FULL:
    case SQLITE_NOMEM:
      return PlatformException::Kind::noResources;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return PlatformException::Kind::notPermitted;
    case SQLITE_CANTOPEN:
      return PlatformException::Kind::notFound;
    default:
      return PlatformException::Kind::failed;
  }
}

int closeStatement(sqlite3_stmt* statement) { return sqlite3_finalize(statement); }
int closeConnection(sqlite3* connection) { return sqlite3_close_v2(connection); }

}  // namespace

SqlFailure::SqlFailure(int code, const std::string& file, const std::string& reason)
    : PlatformException(kindOf(code), "HistoryException", file + ": " + reason), code_(code) {}

bool SqlFailure::isDamage() const {
  const int primary = code_ & 0xFF;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB || primary == SQLITE_CONSTRAINT;
}

bool SqlFailure::isUnreadable() const {
  switch (code_) {
    case SQLITE_IOERR_READ:
    case SQLITE_IOERR_SHORT_READ:
    case SQLITE_IOERR_DATA:
    case SQLITE_IOERR_CORRUPTFS:
      return true;
    default:
      return false;
  }
}

bool SqlFailure::isUnfinished() const { return code_ == SQLITE_READONLY_ROLLBACK; }

SqlStatement::SqlStatement(sqlite3* connection, const std::string& file, std::string_view sql)
    : connection_(connection), file_(file), statement_(nullptr, closeStatement) {
  sqlite3_stmt* made = nullptr;
  const int code =
      sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &made, nullptr);
  statement_.reset(made);
  check(code);
}

void SqlStatement::check(int code) const {
  if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) {
    const int extended = sqlite3_extended_errcode(connection_);
    throw SqlFailure(extended == SQLITE_OK ? code : extended, file_, sqlite3_errmsg(connection_));
  }
}

SqlStatement& SqlStatement::begin() {
  sqlite3_reset(statement_.get());
  place_ = 0;
  return *this;
}

SqlStatement& SqlStatement::with(std::int64_t number) {
  check(sqlite3_bind_int64(statement_.get(), ++place_, number));
  return *this;
}

SqlStatement& SqlStatement::with(std::string_view bytes) {
  // Without an address it would be NULL.
  const char* const start = bytes.empty() ? "" : bytes.data();
  check(sqlite3_bind_blob64(statement_.get(), ++place_, start, bytes.size(), SQLITE_STATIC));
  return *this;
}

SqlStatement& SqlStatement::withNothing() {
  check(sqlite3_bind_null(statement_.get(), ++place_));
  return *this;
}

bool SqlStatement::step() {
  const int code = sqlite3_step(statement_.get());
  check(code);
  return code == SQLITE_ROW;
}

void SqlStatement::run() {
  while (step()) {
  }
  // A statement that is left half-way keeps a transaction open.
  sqlite3_reset(statement_.get());
}

std::int64_t SqlStatement::number(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string_view SqlStatement::bytes(int column) const {
  const void* const start = sqlite3_column_blob(statement_.get(), column);
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return start ? std::string_view(static_cast<const char*>(start), static_cast<std::size_t>(size))
               : std::string_view();
}

bool SqlStatement::isNothing(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

SqlConnection::SqlConnection(const std::string& path, Access access)
    : path_(path), connection_(nullptr, closeConnection) {
  const int wanted = access == Access::read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(
      path.c_str(), &opened,
      wanted | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
  connection_.reset(opened);
  if (code != SQLITE_OK) {
    throw SqlFailure(code, path, opened ? sqlite3_errmsg(opened) : sqlite3_errstr(code));
  }
  sqlite3_busy_timeout(opened, longestWaitForOthers);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
  run("PRAGMA cell_size_check=ON");
  run("PRAGMA cache_size=-2000");
  run("PRAGMA temp_store=MEMORY");
}

SqlStatement SqlConnection::prepare(std::string_view sql) const {
  return SqlStatement(connection_.get(), path_, sql);
}

std::int64_t SqlConnection::number(std::string_view sql) const {
  SqlStatement statement = prepare(sql);
  return statement.step() ? statement.number(0) : 0;
}

std::int64_t SqlConnection::lastId() const { return sqlite3_last_insert_rowid(connection_.get()); }

std::int64_t SqlConnection::changes() const { return sqlite3_changes64(connection_.get()); }

void SqlConnection::releaseMemory() const { sqlite3_db_release_memory(connection_.get()); }

SqlTransaction::SqlTransaction(const SqlConnection& connection, Kind kind)
    : connection_(connection) {
  // One that will write waits here for other writers; later it could no longer.
  connection.run(kind == Kind::writing ? "BEGIN IMMEDIATE" : "BEGIN");
}

SqlTransaction::~SqlTransaction() {
  if (!isOpen_) {
    return;
  }
  try {
    connection_.run("ROLLBACK");
  } catch (const SqlFailure&) {
    // SQLite has rolled it back already.
  }
}

void SqlTransaction::keep() {
  connection_.run("COMMIT");
  isOpen_ = false;
}

}  // namespace quillo
