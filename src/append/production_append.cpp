#include "append/production_append.h"

#include <cstdio>
#include <filesystem>

#include "append/gates.h"
#include "append/marker.h"
#include "append/report_failure.h"
#include "base/shell_assignment.h"
#include "zunol_monitoring/base/command_runner.h"
#include "zunol_monitoring/config/load.h"

namespace zunol_monitoring {
namespace {

/// Five quoted assignments, which the shell gives to the first command of the backend text behind
/// them.
std::string backend_line(const VornConfig& vorn, const std::string& event_file,
                         const std::string& event_id, const std::string& backend) {
  return shell_assignment("ZUNOL_MONITORING_CONFIG", default_config_path().string()) +
         shell_assignment("ZUNOL_VORN_EVENT_FILE", event_file) +
         shell_assignment("ZUNOL_VORN_EVENT_ID", event_id) +
         shell_assignment("ZUNOL_VORN_HISTORY_BLOCK_ID", vorn.history_block_id) +
         shell_assignment("ZUNOL_VORN_WALLET_FILE", vorn.wallet_file.string()) + backend;
}

}  // namespace

int append_to_history(const std::string& event_file, const std::string& event_id) {
  const Config config = load_config(default_config_path());
  if (const auto reason = closed_append_gate(config.vorn)) return report_failure(*reason);

  const std::filesystem::path marker = marker_path(config.storage, event_id);
  if (std::filesystem::exists(marker)) return 0;

  const std::string backend = append_backend(config.vorn);
  if (backend.empty()) {
    return report_failure(
        "VORN append backend is not configured; set vorn.bridge_command or "
        "ZUNOL_VORN_APPEND_BACKEND");
  }
  const CommandResult result =
      run_command({"/bin/sh", "-c", backend_line(config.vorn, event_file, event_id, backend)});
  if (result.exit_code != 0) {
    std::fwrite(result.error.data(), 1, result.error.size(), stderr);
    return result.exit_code;
  }
  write_marker(marker, event_id);
  return 0;
}

}  // namespace zunol_monitoring
