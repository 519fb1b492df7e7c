// What the store raises when SQLite fails.
#pragma once

#include <stdexcept>
#include <string>

namespace zunol_monitoring {

/// A failure with SQLite's text as its message, and the result code that tells failures apart.
class StoreError : public std::runtime_error {
 public:
  StoreError(const std::string& message, int code) : std::runtime_error(message), code_(code) {}

  /// SQLite's primary result code: 5 another connection kept the database locked, 8 it may not be
  /// written, 10 the disk failed, 11 the database is damaged, 13 the disk is full, 14 the file
  /// cannot be opened, 21 the store is closed, 26 the file is no database.
  int code() const { return code_; }

 private:
  int code_;
};

}  // namespace zunol_monitoring
