// The delivery of one event through the transport that the configuration names.
#pragma once

#include <chrono>
#include <functional>
#include <string_view>

#include "zunol_monitoring/config/config.h"
#include "zunol_monitoring/store/sync_queue.h"

namespace zunol_monitoring {

/// What ends a command before it ends by itself.
struct DeliveryLimits {
  std::chrono::milliseconds command_time{0};  ///< 0 is no limit
  std::function<bool()> give_up;              ///< asked several times a second, where there is one
};

/// Raised when give_up said so; no std::exception, as the event has not failed.
struct DeliveryGivenUp {};

/// What a command printed stands behind it.
inline constexpr std::string_view command_failure = "append_command failed: ";

/// Returns when the event is delivered. Raises what export_spool_file raises, and
/// std::runtime_error with "append_command failed: " and what it printed, "append_command ended
/// after its time limit of
/// ", "cannot run command", "vorn transport is queue-only", and "cannot write " and the path of the
/// event file. The event file of the command is gone on every way out.
void deliver_event(const Config& config, const VornSyncItem& item, const DeliveryLimits& limits);

}  // namespace zunol_monitoring
