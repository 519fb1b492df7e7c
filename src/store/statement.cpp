#include "store/statement.h"

#include <sqlite3.h>

#include "zunol_monitoring/base/log.h"
#include "zunol_monitoring/store/store_error.h"

namespace zunol_monitoring {

Statement::Statement(sqlite3* database, const char* sql) : database_(database) {
  if (database == nullptr) throw StoreError("the store is closed", SQLITE_MISUSE);
  sqlite3_stmt* statement = nullptr;
  require(sqlite3_prepare_v2(database_, sql, -1, &statement, nullptr) == SQLITE_OK);
  statement_.reset(statement);
}

void Statement::run() { require(sqlite3_step(statement_.get()) == SQLITE_DONE); }

bool Statement::next() {
  const int result = sqlite3_step(statement_.get());
  if (result != SQLITE_ROW && result != SQLITE_DONE) {
    try {
      log_message(LogLevel::Error,
                  std::string("store listing cut short: ") + sqlite3_errmsg(database_));
    } catch (const std::exception&) {
      // The rows so far are the answer, whatever becomes of the line.
    }
  }
  return result == SQLITE_ROW;
}

bool Statement::next_or_raise() {
  const int result = sqlite3_step(statement_.get());
  require(result == SQLITE_ROW || result == SQLITE_DONE);
  return result == SQLITE_ROW;
}

std::vector<std::int64_t> Statement::row_ids() {
  std::vector<std::int64_t> ids;
  while (next_or_raise()) ids.push_back(integer64(0));
  return ids;
}

void Statement::restart() { sqlite3_reset(statement_.get()); }

std::string Statement::text(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_.get(), column);
  return text == nullptr ? std::string() : reinterpret_cast<const char*>(text);
}

int Statement::integer(int column) const { return sqlite3_column_int(statement_.get(), column); }

std::int64_t Statement::integer64(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

double Statement::real(int column) const { return sqlite3_column_double(statement_.get(), column); }

bool Statement::is_null(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

void Statement::Finalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

void Statement::bind_one(int index, const std::string& value) {
  // The 64-bit form, as a size beyond 2 GiB must not wrap; and checked, as a text beyond SQLite's
  // own limit would be bound as NULL.
  require(sqlite3_bind_text64(statement_.get(), index, value.data(), value.size(), SQLITE_TRANSIENT,
                              SQLITE_UTF8) == SQLITE_OK);
}

void Statement::bind_one(int index, int value) {
  require(sqlite3_bind_int(statement_.get(), index, value) == SQLITE_OK);
}

void Statement::bind_one(int index, std::int64_t value) {
  require(sqlite3_bind_int64(statement_.get(), index, value) == SQLITE_OK);
}

void Statement::bind_one(int index, double value) {
  require(sqlite3_bind_double(statement_.get(), index, value) == SQLITE_OK);
}

void Statement::require(bool good) const {
  if (!good) throw StoreError(sqlite3_errmsg(database_), sqlite3_errcode(database_) & 0xff);
}

}  // namespace zunol_monitoring
