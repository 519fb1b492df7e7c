// zunol-monitoring-ctl store: how full the store is, and its maintenance.
#include <nlohmann/json.hpp>

#include "ctl/amounts.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "ctl/table.h"
#include "ctl/tool.h"
#include "store/inspection.h"
#include "zunol_monitoring/base/clock.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

std::string size_text(std::uint64_t bytes, std::uint64_t limit) {
  if (limit == 0) return bytes_text(bytes) + ", without a limit";
  const std::string text = bytes_text(bytes) + " of " + bytes_text(limit);
  return bytes > limit ? text + ", " + coloured(Colour::yellow, "over the limit") : text;
}

int show_status(const Tool& tool) {
  const Config config = read_config(tool.config);
  StoreView view = look_at_store(tool, config);
  const std::uint64_t bytes = store_size_bytes(fs::weakly_canonical(config.storage.local_db));
  const std::uint64_t limit = config.storage.max_local_bytes;
  const auto tables = view.look(count_table_rows);
  const std::int64_t open_incidents = view.look(count_open_incidents);
  if (tool.json) {
    json rows = json::object();
    for (const TableRows& table : tables) rows[table.table] = table.rows;
    print_json({{"path", config.storage.local_db.string()},
                {"size_bytes", bytes},
                {"max_bytes", limit},
                {"open_incidents", open_incidents},
                {"rows", rows}});
    return done;
  }
  print("store           " + printable(config.storage.local_db.string()) + "\nsize            " +
        size_text(bytes, limit) + "\nopen incidents  " + std::to_string(open_incidents) + "\n\n");
  Table table({"TABLE", "ROWS"});
  for (const TableRows& each : tables) table.add({each.table, std::to_string(each.rows)});
  print(table.text(terminal_width()));
  return done;
}

int maintain(const Tool& tool) {
  const Config config = read_config(tool.config);
  auto store = open_to_change(config);
  const std::uint64_t limit = config.storage.max_local_bytes;
  std::uint64_t before = 0;
  std::uint64_t after = 0;
  bool useful = true;
  if (store) {
    before = store->local_size_bytes();
    const int kept = config.storage.max_local_incidents;
    const MaintenanceGain gain = store->maintenance_gain(kept, limit);
    useful = gain.rows > 0 || gain.free_bytes > 0;  // else it would rewrite the file for nothing
    if (useful) {
      store->run_maintenance(kept, limit);
    } else if (limit > 0 && before > limit) {  // perhaps by the -wal file alone
      store->exec("PRAGMA wal_checkpoint(TRUNCATE)");
    }
    store->set_state(last_maintenance_key, utc_timestamp_iso());
    after = store->local_size_bytes();
  } else {
    tell_absent_store(tool, config);
  }
  if (tool.json) {
    print_json({{"size_before_bytes", before}, {"size_bytes", after}, {"max_bytes", limit}});
  } else {
    print("size before  " + size_text(before, limit) + "\nsize now     " + size_text(after, limit) +
          (useful ? "\n" : "\nnothing to free\n"));
  }
  return done;
}

}  // namespace

void add_store_commands(CLI::App& app, Tool& tool) {
  CLI::App& group = add_group(app, "store", "The local store");
  add_command(tool, group, "status", "Tell its size, its rows and the open incidents",
              [&tool] { return show_status(tool); });
  add_command(tool, group, "maintain",
              "Prune resolved incidents and, over the size limit, old rows",
              [&tool] { return maintain(tool); });
}

}  // namespace zunol_monitoring::ctl
