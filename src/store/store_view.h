// A look at a store that others may be writing, and that leaves nothing behind.
//
// Beside a -wal or -journal file, and at a database that is not in write-ahead mode, the look is a
// connection like any other, which only reads. Another database is at rest, and opened the usual
// way SQLite would make the files of that mode, which would be the looking user's. So it is opened
// as one that does not change, and what
// was read counts only when neither the database nor a file beside it has changed meanwhile;
// otherwise it is read again. What looks damaged is damaged, then, and not just being written.
#pragma once

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "store/connection.h"

namespace zunol_monitoring {

class StoreView {
 public:
  /// Links in the path `file` are followed. Raises StoreError with SQLite's text, and the
  /// file-system library's error when there is no such file.
  explicit StoreView(const std::filesystem::path& file);
  /// A look at a store that has nothing in it.
  static StoreView of_nothing();

  /// What `read` makes of the connection; it may be called several times. It should be short and
  /// leave no statement open: a writer could else not shorten its -wal file meanwhile, or not write
  /// at all. Raises what `read` raises, and StoreError with "the store keeps changing" when 10
  /// seconds of repeats do not help, or with "a change was cut short, and the next one takes it
  /// back" where a writer left a -journal file behind.
  template <class Read>
  auto look(Read read) {
    for (const auto deadline = Clock::now() + std::chrono::milliseconds(busy_timeout_ms);;
         reopen(deadline)) {
      try {
        auto answer = read(nothing_ ? StoreConnection::of(*nothing_) : db_.get());
        if (holds()) return answer;
      } catch (const StoreError& error) {
        if (holds()) raise(error);
      }
    }
  }

 private:
  using Clock = std::chrono::steady_clock;

  StoreView() = default;

  void open();
  void reopen(Clock::time_point deadline);
  [[noreturn]] void raise(const StoreError& error) const;
  bool holds() const;
  bool in_use() const;

  std::optional<SqliteStore> nothing_;
  std::string file_;
  Connection db_;
  bool at_rest_ = false;
  struct stat before_ = {};  ///< of a database at rest, when it was opened
};

}  // namespace zunol_monitoring
