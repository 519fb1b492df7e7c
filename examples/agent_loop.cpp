// The least program that hosts the library as the agent daemon does. Arguments: a configuration
// file.
//
// It queues three events and delivers them through the transport that the configuration names. A
// daemon would do both for ever: enqueue when something happens, flush every vorn.flush_interval.
#include <zunol_monitoring.h>

#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

using namespace zunol_monitoring;

namespace {

int run(const char* config_file) {
  const Config config = load_config(config_file);
  SqliteStore store(config.storage.local_db);
  QueueingVornHistoryWriter writer(config, store);

  writer.enqueue("agent_started", {{"version", "1.0.0"}});
  writer.enqueue("check_failed", {{"level", "warning"}, {"check", "disk"}, {"used_percent", 91.5}});
  writer.enqueue("check_recovered", {{"check", "disk"}, {"used_percent", 62.0}});

  while (true) {
    std::cout << "delivered " << writer.flush() << std::endl;
    if (store.list_sync_events(1, true).empty()) return 0;
    const bool leaves_this_host =
        config.vorn.enabled && !config.vorn.queue_only && config.vorn.transport != "queue";
    if (!leaves_this_host) return 1;
    std::this_thread::sleep_for(std::chrono::seconds(5));  // a failed row is due again later
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: agent-loop CONFIG\n";
    return 2;
  }
  try {
    return run(argv[1]);
  } catch (const std::exception& error) {
    std::cerr << "agent-loop: " << error.what() << '\n';
    return 1;
  }
}
