// Queues and delivers events until it is killed. Arguments: a configuration file, and a file that
// gets a line with the id of each event once its enqueue has returned: from then on it must not be
// lost.
#include <fstream>
#include <nlohmann/json.hpp>

#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/config/load.h"
#include "zunol_monitoring/history/queueing_history_writer.h"

using namespace zunol_monitoring;

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const Config config = load_config(argv[1]);
  SqliteStore store(config.storage.local_db);
  QueueingVornHistoryWriter writer(config, store);
  std::ofstream accepted(argv[2], std::ios::app);
  while (true) {
    for (int i = 0; i < 3; ++i) {
      const std::string id = make_id("evt");
      writer.enqueue("test_event", {{"event_id", id}, {"text", std::string(2000, 'x')}});
      accepted << id << std::endl;
    }
    writer.flush();
  }
}
