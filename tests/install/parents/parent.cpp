#include <zunol_monitoring.h>
#include <zunol_monitoring/history/queueing_history_writer.h>

#include <cstddef>

#include "config/config.h"

std::size_t queue_one_event() {
  using namespace zunol_monitoring;
  const Config config;
  SqliteStore store(parents_store);
  QueueingVornHistoryWriter writer(config, store);
  writer.enqueue("test_event", {{"level", "info"}});
  return store.list_sync_events(10, true).size();
}
