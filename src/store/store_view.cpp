#include "store/store_view.h"

#include <sqlite3.h>
#include <time.h>

#include <thread>

namespace zunol_monitoring {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

/// A change within one tick of the clock that stamps files could leave the same stamp.
constexpr milliseconds longest_tick{20};

nanoseconds since_epoch(const timespec& time) {
  return seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

struct stat status_of(const std::string& file) {
  struct stat status = {};
  (void)stat(file.c_str(), &status);  // what is missing differs from what was there
  return status;
}

bool same_file(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         since_epoch(a.st_mtim) == since_epoch(b.st_mtim) &&
         since_epoch(a.st_ctim) == since_epoch(b.st_ctim);
}

/// The status of a file that was last changed at least a tick ago.
struct stat settled_status_of(const std::string& file) {
  while (true) {
    const struct stat status = status_of(file);
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const nanoseconds age = since_epoch(now) - since_epoch(status.st_mtim);
    if (age < nanoseconds(0) || age >= longest_tick) return status;  // below 0: set back clock
    std::this_thread::sleep_for(longest_tick - age);
  }
}

/// The file as a database that does not change.
std::string immutable_uri(const std::string& file) {
  std::string uri = "file://";
  for (const char byte : file) {
    if (byte == '%' || byte == '?' || byte == '#') {
      uri += byte == '%' ? "%25" : byte == '?' ? "%3f" : "%23";
    } else {
      uri += byte;
    }
  }
  return uri + "?immutable=1";
}

/// Whether the file says that its changes go through a -journal file. It is read by SQLite's own
/// descriptor: to close another would give up the locks of this process.
bool keeps_journal(sqlite3* db) {
  constexpr int version_offset = 18;
  constexpr unsigned char journal_version = 1;
  sqlite3_file* file = nullptr;
  sqlite3_file_control(db, "main", SQLITE_FCNTL_FILE_POINTER, &file);
  unsigned char version = 0;
  return file->pMethods->xRead(file, &version, 1, version_offset) == SQLITE_OK &&
         version == journal_version;
}

}  // namespace

StoreView::StoreView(const std::filesystem::path& file)
    : file_(std::filesystem::canonical(file).string()) {
  open();
}

StoreView StoreView::of_nothing() {
  StoreView view;
  view.nothing_.emplace(":memory:");
  return view;
}

void StoreView::open() {
  at_rest_ = !in_use();
  if (at_rest_) {
    before_ = settled_status_of(file_);
    db_.reset(open_connection(immutable_uri(file_), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI));
    at_rest_ = !keeps_journal(db_.get());
  }
  if (!at_rest_) db_.reset(open_connection(file_, SQLITE_OPEN_READONLY));
}

void StoreView::raise(const StoreError& error) const {
  if (db_ && sqlite3_extended_errcode(db_.get()) == SQLITE_READONLY_ROLLBACK) {
    throw StoreError("a change was cut short, and the next one takes it back", error.code());
  }
  throw StoreError(error);
}

void StoreView::reopen(Clock::time_point deadline) {
  if (Clock::now() >= deadline) throw StoreError("the store keeps changing", SQLITE_BUSY);
  db_.reset();
  open();
}

bool StoreView::holds() const {
  if (nothing_) return true;
  if (at_rest_) return !in_use() && same_file(before_, status_of(file_));
  return in_use() || keeps_journal(db_.get());
}

bool StoreView::in_use() const {
  return std::filesystem::exists(file_ + "-wal") || std::filesystem::exists(file_ + "-journal");
}

}  // namespace zunol_monitoring
