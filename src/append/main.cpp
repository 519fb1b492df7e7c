// zunol-vorn-append-event: appends one event to the history. Its whole interface is its
// environment, its exit status, standard error and the marker of each appended event.
#include <csignal>
#include <exception>
#include <nlohmann/json.hpp>
#include <string>

#include "append/production_append.h"
#include "append/report_failure.h"
#include "events/parse_envelope.h"
#include "zunol_monitoring/base/environment.h"
#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/events/event_envelope.h"

namespace zunol_monitoring {
namespace {

/// Makes a run independent of the signals that its parent ignores, and of limits that end a process
/// by a signal. An ignored SIGCHLD would hide the backend's status. A closed standard error and a
/// limit on the size of files are to be errors of a write: their signals get a handler that does
/// nothing. Unlike an ignored signal it does not reach the backend, as no handler outlives an exec.
void settle_signals() {
  std::signal(SIGCHLD, SIG_DFL);
  std::signal(SIGPIPE, [](int) {});
  std::signal(SIGXFSZ, [](int) {});
}

/// An event problem is reported before any configuration problem: the configuration is loaded only
/// once the event is proven.
int append_event() {
  const std::string event_file = env_or_default("ZUNOL_VORN_EVENT_FILE", "");
  const std::string event_id = env_or_default("ZUNOL_VORN_EVENT_ID", "");
  if (event_file.empty()) return report_failure("ZUNOL_VORN_EVENT_FILE is required");
  if (event_id.empty()) return report_failure("ZUNOL_VORN_EVENT_ID is required");

  const nlohmann::json event = parse_envelope(read_text_file(event_file));
  if (const auto reason = validate_event(event)) return report_failure("invalid event: " + *reason);
  if (event["event_id"].get_ref<const std::string&>() != event_id) {
    return report_failure("ZUNOL_VORN_EVENT_ID does not match event.event_id");
  }
  return append_to_history(event_file, event_id);
}

}  // namespace
}  // namespace zunol_monitoring

int main() {
  using namespace zunol_monitoring;
  settle_signals();
  try {
    return append_event();
  } catch (const std::exception& error) {
    return report_failure(error.what());
  }
}
