#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <system_error>

#include "commands.h"
#include "failure.h"
#include "ledger.h"
#include "spool/event_text.h"
#include "zunol_monitoring/base/environment.h"

namespace zunol_monitoring::postgres_ledger {
namespace {

/// Ends the process, whatever it waits for: names that do not resolve, a file system that is away,
/// one address of the server after another.
void end_at_time_limit() {
  std::signal(SIGALRM, [](int) {
    constexpr std::string_view line = "postgres-ledger: not done within the time limit\n";
    (void)!write(STDERR_FILENO, line.data(), line.size());
    _exit(try_again);
  });
  alarm(static_cast<unsigned>(time_limit().count()));
}

std::string required(const char* name) {
  std::string value = env_or_default(name, "");
  if (value.empty()) throw Failure(wrong_usage, std::string(name) + " is not set");
  return value;
}

std::string read_event_file(const std::string& path) {
  try {
    return read_event_text(AT_FDCWD, path).text;
  } catch (const NoEventFile& reason) {
    throw Failure(no_event_file, "event file " + path + " is " + reason.what());
  } catch (const std::system_error& error) {
    throw Failure(no_event_file, "cannot read event file " + path + ": " + error.code().message());
  }
}

}  // namespace

int append_one(const std::string& service) {
  end_at_time_limit();
  required("ZUNOL_MONITORING_CONFIG");
  required("ZUNOL_VORN_WALLET_FILE");
  const std::string path = required("ZUNOL_VORN_EVENT_FILE");
  const std::string id = required("ZUNOL_VORN_EVENT_ID");
  const std::string block = required("ZUNOL_VORN_HISTORY_BLOCK_ID");
  const std::string event = read_event_file(path);

  Connection connection(service);
  const std::string verdict = append_events(connection, block, {{id, event}}).verdicts.at(0);
  if (verdict != verdict_added && verdict != verdict_known) {
    throw Failure(never, explain_verdict(verdict, block, id));
  }
  std::puts("appended");
  return done;
}

}  // namespace zunol_monitoring::postgres_ledger
