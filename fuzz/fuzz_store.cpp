// Any texts go through the outbox: what was put in comes out up to its first zero byte, a failure
// is counted and defers the row, and a row that is sent is not listed. Input: three lines for id,
// payload and error.
#include <sstream>

#include "fuzz.h"
#include "zunol_monitoring/store/sqlite_store.h"

using namespace zunol_monitoring;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static SqliteStore store(":memory:");
  store.exec("DELETE FROM vorn_sync_queue");
  std::istringstream lines(text_of(data, size));
  std::string id;
  std::string payload;
  std::string error;
  std::getline(std::getline(std::getline(lines, id), payload), error, '\0');

  const auto require_row = [&](int attempts, const std::string& last_error) {
    const auto rows = store.list_sync_events(-1, true);
    require(rows.size() == 1 && rows[0].event_id == id.c_str() &&
            rows[0].payload == payload.c_str() && rows[0].status == "pending" &&
            rows[0].attempt_count == attempts && rows[0].last_error == last_error.c_str());
    require(store.list_sync_events(-1, false).size() == (attempts == 0 ? 1 : 0));
  };
  store.enqueue_sync_event(id, payload);
  require_row(0, "");
  store.enqueue_sync_event(id, error);
  require_row(0, "");
  store.record_sync_failure(id, error);
  require_row(1, error);
  store.mark_sync_event_sent(id);
  require(store.list_sync_events(-1, true).empty());
  return 0;
}
