// The owner of one prepared statement, and all handling of SQLite's results.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace zunol_monitoring {

/// Failures raise StoreError with the text of sqlite3_errmsg, or with "the store is closed" where
/// the database is null. The statement is finalised on every way out.
class Statement {
 public:
  Statement(sqlite3* database, const char* sql);
  Statement(sqlite3* database, const std::string& sql) : Statement(database, sql.c_str()) {}

  /// Binds the values to the parameters, from the first on: text, integer or double. SQLite
  /// takes a copy.
  template <class... Values>
  Statement& bind(const Values&... values) {
    int index = 0;
    (bind_one(++index, values), ...);
    return *this;
  }

  /// Runs a statement that writes.
  void run();
  /// Steps to the next row of a statement that reads; false when there is none. A failure ends the
  /// rows as well, with one line in the log: "store listing cut short: " and SQLite's text.
  bool next();
  /// The same, but a failure raises: an answer that is cut short would be a wrong one.
  bool next_or_raise();
  /// What `read` makes of each row that is left, up to the first result that is no row.
  template <class Read>
  auto all(Read read) {
    std::vector<std::invoke_result_t<Read, const Statement&>> records;
    while (next()) records.push_back(read(*this));
    return records;
  }
  /// What `read` makes of the first row, if one comes.
  template <class Read>
  auto first(Read read) {
    std::optional<std::invoke_result_t<Read, const Statement&>> record;
    if (next()) record = read(*this);
    return record;
  }

  /// The integers of the first column of all rows. A failure raises.
  std::vector<std::int64_t> row_ids();
  /// What `read` makes of the first row for each value of the one parameter, if one comes. A
  /// failure raises.
  template <class Read>
  auto each(std::span<const std::int64_t> values, Read read) {
    std::vector<std::invoke_result_t<Read, const Statement&>> records;
    for (const std::int64_t value : values) {
      if (bind(value).next_or_raise()) records.push_back(read(*this));
      restart();
    }
    return records;
  }

  // Columns of the present row, from 0. A NULL reads as "" or 0; text ends at its first zero byte.
  std::string text(int column) const;
  int integer(int column) const;
  std::int64_t integer64(int column) const;
  double real(int column) const;
  bool is_null(int column) const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const;
  };

  void bind_one(int index, const std::string& value);
  void bind_one(int index, int value);
  void bind_one(int index, std::int64_t value);
  void bind_one(int index, double value);
  void require(bool good) const;
  void restart();

  sqlite3* database_;
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
};

}  // namespace zunol_monitoring
