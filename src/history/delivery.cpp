#include "history/delivery.h"

#include <stdexcept>

#include "base/limited_command.h"
#include "base/shell_assignment.h"
#include "history/event_file.h"
#include "zunol_monitoring/base/command_runner.h"
#include "zunol_monitoring/history/spool_export.h"

namespace zunol_monitoring {
namespace {

using std::chrono::milliseconds;

std::string limit_text(milliseconds limit) {
  const auto count = limit.count();
  return count % 1000 == 0 ? std::to_string(count / 1000) + " s" : std::to_string(count) + " ms";
}

CommandResult run_within(const std::string& line, const DeliveryLimits& limits) {
  if (limits.command_time <= milliseconds(0) && !limits.give_up) {
    return run_command({"/bin/sh", "-c", line});
  }
  const auto result = run_limited_command(line, limits.command_time, limits.give_up);
  if (result) return *result;
  if (limits.give_up && limits.give_up()) throw DeliveryGivenUp();
  throw std::runtime_error("append_command ended after its time limit of " +
                           limit_text(limits.command_time));
}

void run_append_command(const Config& config, const VornSyncItem& item,
                        const DeliveryLimits& limits) {
  CommandResult result;
  {
    const EventFile file(item.payload);
    std::string line;
    if (!config.path.empty()) {
      line += shell_assignment("ZUNOL_MONITORING_CONFIG", config.path.string());
    }
    line += shell_assignment("ZUNOL_VORN_EVENT_FILE", file.path().string());
    line += shell_assignment("ZUNOL_VORN_EVENT_ID", item.event_id);
    result = run_within(line + config.vorn.append_command, limits);
  }
  if (result.exit_code != 0) throw std::runtime_error(std::string(command_failure) + result.error);
}

}  // namespace

void deliver_event(const Config& config, const VornSyncItem& item, const DeliveryLimits& limits) {
  if (config.vorn.transport == "spool") {
    export_spool_file(config.vorn, item);
  } else if (config.vorn.transport == "command") {
    run_append_command(config, item, limits);
  } else {
    throw std::runtime_error("vorn transport is queue-only");
  }
}

}  // namespace zunol_monitoring
