#include "ctl/whereabouts.h"

#include <fstream>

#include "append/marker.h"
#include "history/spool_name.h"

namespace zunol_monitoring::ctl {
namespace {

namespace fs = std::filesystem;

Trace trace_of(const fs::path& path) {
  std::error_code unknown;
  return {path, fs::exists(path, unknown)};
}

/// The first line of the marker, whose name has at most 252 bytes of the id.
std::optional<std::string> id_in(const fs::path& marker) {
  constexpr std::size_t most_bytes = 256;
  std::error_code unknown;
  if (!fs::is_regular_file(marker, unknown)) return std::nullopt;
  std::ifstream file(marker, std::ios::binary);
  std::string id(most_bytes, '\0');
  file.read(id.data(), most_bytes);
  id.resize(static_cast<std::size_t>(file.gcount()));
  const std::size_t end = id.find('\n');
  if (end == std::string::npos) return std::nullopt;
  return id.substr(0, end);
}

}  // namespace

Whereabouts whereabouts_of(const Config& config, const VornSyncItem& item) {
  Whereabouts all{.marker = trace_of(marker_path(config.storage, item.event_id))};
  all.marked_id = id_in(all.marker.path);
  if (config.vorn.transport == "spool") {
    all.spool_file = trace_of(spool_file_path(config.vorn, item));
  }
  const auto ledger = sqlite_ledger_of(config.vorn.bridge_command);
  if (!ledger) return all;
  all.ledger = ledger->file;
  try {
    all.ledger_row = find_in_ledger(ledger->file, config.vorn.history_block_id, item.event_id);
  } catch (const std::exception& error) {
    all.ledger_error = error.what();
  }
  return all;
}

}  // namespace zunol_monitoring::ctl
