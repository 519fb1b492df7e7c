// A host of the library for bench/peers/peers: "accept CONFIG N PAD" queues N events, each filled
// up with PAD bytes; "deliver CONFIG" delivers all that wait.
#include <zunol_monitoring.h>

#include <iostream>
#include <string>
#include <string_view>

using namespace zunol_monitoring;

namespace {

void accept(QueueingVornHistoryWriter& writer, int events, std::size_t pad) {
  const std::string text(pad, 'x');
  for (int i = 0; i < events; ++i) {
    writer.enqueue("check_failed", {{"level", "warning"}, {"check", "disk"}, {"text", text}});
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Config config = load_config(argv[2]);
    SqliteStore store(config.storage.local_db);
    QueueingVornHistoryWriter writer(config, store);
    if (std::string_view(argv[1]) == "accept" && argc == 5) {
      accept(writer, std::stoi(argv[3]), std::stoul(argv[4]));
    } else {
      while (writer.flush() > 0) {
      }
    }
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
