// A small agent daemon over the library, to copy from. Argument: a configuration file.
//
// The main thread samples load, memory, swap and disk usage as `checks` says, keeps each result,
// and opens, repeats and resolves incidents. A second thread with a connection of its own delivers
// the events that this queues. SIGTERM or SIGINT ends both.
#include <sys/statvfs.h>
#include <zunol_monitoring.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <functional>
#include <iostream>
#include <mutex>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

using namespace zunol_monitoring;

namespace {

using nlohmann::json;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

constexpr seconds maintenance_interval{3600};
constexpr std::int64_t worthwhile_rows = 1000;
constexpr seconds command_time{60};             // for the delivery of one event
constexpr std::chrono::milliseconds tick{200};  // how late a check or the end may be

std::atomic<bool> ending = false;  ///< set by a signal, and all that its handler does

/// The commands of a delivery inherit no handler. They would inherit that a signal is blocked or
/// ignored, and SIGTERM would not end them.
void handle_signals() {
  std::signal(SIGTERM, [](int) { ending = true; });
  std::signal(SIGINT, [](int) { ending = true; });
  std::signal(SIGPIPE, [](int) {});  // the reader of the log has gone: no reason to end
}

const char* advice(const StoreError& error) {
  switch (error.code()) {
    case 5:
      return "another program keeps the store locked";
    case 13:
      return "the disk is full: nothing is recorded until there is space";
    case 11:
    case 26:
      return "the store is damaged: stop the agent, then restore the file or move it away";
    default:
      return "the store failed";
  }
}

/// Failures are logged and the agent goes on: what failed comes again with the next interval.
void attempt(const std::string& work, const std::function<void()>& run) {
  try {
    run();
  } catch (const StoreError& error) {
    log_message(LogLevel::Error, work + ": " + advice(error) + ": " + error.what());
  } catch (const std::exception& error) {
    log_message(LogLevel::Error, work + ": " + error.what());
  }
}

/// A duration of the configuration, at most a year so that sums of times stay in range.
seconds duration_of(const std::string& text, std::int64_t fallback) {
  constexpr std::int64_t year = 31536000;
  try {
    return seconds(std::min(parse_duration_seconds(text, fallback), year));
  } catch (const std::out_of_range&) {
    return seconds(year);
  }
}

/// The same for what is done again and again.
seconds interval_of(const std::string& text) { return std::max(duration_of(text, 30), seconds(1)); }

double load_per_core() {
  double load = 0;
  std::istringstream(read_text_file("/proc/loadavg")) >> load;
  return load / std::max(1U, std::thread::hardware_concurrency());
}

double percent(double part, double whole) { return whole > 0 ? 100 * part / whole : 0; }

/// Of the memory that /proc/meminfo has under `total`, the share that is not `available`.
double memory_percent(const std::string& total, const std::string& available) {
  double all = 0;
  double left = 0;
  std::istringstream in(read_text_file("/proc/meminfo"));
  for (std::string word; in >> word;) {
    if (word == total) in >> all;
    if (word == available) in >> left;
  }
  return percent(all - left, all);
}

/// Blocks that only root may use count as neither used nor free.
double disk_percent(const std::string& path) {
  struct statvfs disk = {};
  if (statvfs(path.c_str(), &disk) != 0) {
    throw std::system_error(errno, std::generic_category(), "statvfs " + path);
  }
  const auto used = static_cast<double>(disk.f_blocks - disk.f_bfree);
  return percent(used, used + static_cast<double>(disk.f_bavail));
}

/// How long something has held without a break. It is in memory, as asking the store for the past
/// would read the whole table.
class Holding {
 public:
  bool holds() const { return since_.has_value(); }
  bool holds_for(seconds duration, bool now_holds, Clock::time_point now) {
    if (!now_holds) since_.reset();
    if (now_holds && !since_) since_ = now;
    return since_ && now - *since_ >= duration;
  }

 private:
  std::optional<Clock::time_point> since_;
};

struct Threshold {
  double usage;
  seconds duration;
  Holding exceeded = {};
};

struct Check {
  std::string type;
  std::string name;  ///< of what the values are: the type again, or a path
  std::function<double()> sample;
  seconds interval;
  Threshold warning;
  Threshold critical;
  Clock::time_point due = Clock::now();
  Severity level = Severity::Info;  ///< of the latest result that is stored
  Holding well = {};
};

/// Names the check in messages, and is the fingerprint of its incidents.
std::string subject(const Check& check) {
  return check.type == check.name ? check.type : check.type + ' ' + check.name;
}

/// The level of this value. A threshold that is exceeded, but not yet for its duration, changes
/// nothing.
Severity judge(Check& check, double value, Clock::time_point now) {
  const auto counts = [&](Threshold& threshold) {
    return threshold.exceeded.holds_for(threshold.duration, value >= threshold.usage, now);
  };
  const bool warning = counts(check.warning);  // each of them sees every value
  if (counts(check.critical)) return Severity::Critical;
  if (warning) return Severity::Warning;
  const bool pending = check.warning.exceeded.holds() || check.critical.exceeded.holds();
  return pending ? check.level : Severity::Info;
}

std::vector<Check> checks_of(const ChecksConfig& config) {
  std::vector<Check> checks;
  const auto add = [&](const char* type, const ThresholdCheckConfig& block,
                       std::function<double()> sample) {
    const auto threshold = [](const UsageThreshold& limit) {
      return Threshold{limit.usage_percent, duration_of(limit.duration, 0)};
    };
    if (!block.enabled) return;
    checks.push_back({type, type, std::move(sample), interval_of(block.interval),
                      threshold(block.warning), threshold(block.critical)});
  };
  add("load", config.load, load_per_core);
  add("ram", config.ram, [] { return memory_percent("MemTotal:", "MemAvailable:"); });
  add("swap", config.swap, [] { return memory_percent("SwapTotal:", "SwapFree:"); });
  if (!config.disk.enabled) return checks;
  for (const PathThreshold& item : config.disk.paths) {
    checks.push_back({"disk",
                      item.path,
                      [path = item.path] { return disk_percent(path); },
                      interval_of(config.disk.interval),
                      {item.warning_percent, seconds(0)},
                      {item.critical_percent, seconds(0)}});
  }
  return checks;
}

/// All that is written, or nothing of it: an incident and its event go together.
void in_transaction(SqliteStore& store, const std::function<void()>& write) {
  store.exec("BEGIN IMMEDIATE");
  try {
    write();
    store.exec("COMMIT");
  } catch (...) {
    attempt("rollback", [&] { store.exec("ROLLBACK"); });  // a full disk has done it already
    throw;
  }
}

struct Agent {
  const Config& config;
  SqliteStore& store;
  VornHistoryWriter& writer;
};

/// With one decimal, whatever the locale.
std::string text_of(double value) { return json(std::round(value * 10) / 10).dump(); }

CheckResult result_of(const Agent& agent, const Check& check, Severity level, double value) {
  return {.check_type = check.type,
          .check_name = check.name,
          .target = agent.config.agent.server_name,
          .state = level == Severity::Info ? CheckStatus::Ok : CheckStatus::Failed,
          .level = level,
          .message = subject(check) + " is at " + text_of(value),
          .value = value,
          .labels = {},
          .created_at = utc_timestamp_iso()};
}

json event_data(const CheckResult& result) {
  return {{"level", severity_name(result.level)},
          {"check", result.check_type},
          {"name", result.check_name},
          {"value", result.value},
          {"message", result.message},
          {"created_at", result.created_at}};
}

/// The same event in the history and in the trail of the incident, under one id.
void tell_of_incident(Agent& agent, const Incident& incident, const char* type,
                      const CheckResult& result) {
  json data = event_data(result);
  data["event_id"] = make_id("evt");
  data["incident_id"] = incident.id;
  agent.store.insert_incident_event({.event_id = data["event_id"],
                                     .incident_id = incident.id,
                                     .type = type,
                                     .created_at = result.created_at,
                                     .payload = data.dump()});
  agent.writer.enqueue(type, data);
  agent.store.append_journal("incident", type, "ok", incident.title, incident.id);
}

/// Opens an incident, or repeats the open one.
void record_failure(Agent& agent, const Check& check, const CheckResult& result,
                    const std::optional<Incident>& open) {
  Incident incident = open.value_or(Incident{});
  incident.level = result.level;
  incident.message = result.message;
  incident.current_value = text_of(result.value);
  incident.last_seen_at = result.created_at;
  if (open) return agent.store.update_incident_occurrence(incident);
  incident.id = make_id("inc");
  incident.fingerprint = subject(check);
  incident.check_type = result.check_type;
  incident.check_name = result.check_name;
  incident.target = result.target;
  incident.title = result.message;
  incident.first_seen_at = result.created_at;
  agent.store.insert_incident(incident);
  tell_of_incident(agent, incident, event_type::incident_created, result);
}

/// `well`: the check has been good for as long as an incident needs to be over.
void follow_incident(Agent& agent, const Check& check, const CheckResult& result, bool well) {
  const auto open = agent.store.find_open_incident(subject(check));
  if (result.state == CheckStatus::Failed) return record_failure(agent, check, result, open);
  if (!open || !well) return;
  agent.store.set_incident_status(open->id, IncidentStatus::AutoResolved, result.created_at);
  tell_of_incident(agent, *open, event_type::incident_auto_resolved, result);
}

void tell_change(Agent& agent, const Check& check, const CheckResult& result) {
  if (result.level == check.level) return;
  const bool failed = result.state == CheckStatus::Failed;
  agent.writer.enqueue(failed ? event_type::check_failed : event_type::check_recovered,
                       event_data(result));
  log_message(failed ? LogLevel::Warn : LogLevel::Info, result.message);
}

void run_check(Agent& agent, Check& check) {
  const double value = check.sample();
  const auto now = Clock::now();
  const Severity level = judge(check, value, now);
  const seconds resolve_after = duration_of(agent.config.incidents.auto_resolve_after_success, 120);
  const bool well = check.well.holds_for(resolve_after, level == Severity::Info, now);

  const CheckResult result = result_of(agent, check, level, value);
  in_transaction(agent.store, [&] {
    agent.store.insert_check_result(result);
    tell_change(agent, check, result);
    follow_incident(agent, check, result, well);
  });
  check.level = level;  // only now: what was not stored is told again
}

/// Over the limit maintenance rewrites the database, so it waits until that frees a thousand rows
/// or a tenth of the limit in empty pages. A large outbox would else be rewritten for each few
/// results.
void maintain(Agent& agent) {
  const StorageConfig& storage = agent.config.storage;
  agent.store.prune_resolved_incidents(storage.max_local_incidents);
  const MaintenanceGain gain =
      agent.store.maintenance_gain(storage.max_local_incidents, storage.max_local_bytes);
  if (gain.rows < worthwhile_rows && gain.free_bytes <= storage.max_local_bytes / 10) return;
  agent.store.run_maintenance(storage.max_local_incidents, storage.max_local_bytes);
  agent.store.append_journal("store", "maintenance", "ok", "",
                             std::to_string(agent.store.local_size_bytes()) + " bytes");
}

/// The main thread's work until a signal ends it.
void run_checks(Agent& agent, std::vector<Check>& checks) {
  auto maintenance_due = Clock::now() + maintenance_interval;
  while (!ending) {
    for (Check& check : checks) {
      if (ending || Clock::now() < check.due) continue;
      attempt("check of " + subject(check), [&] { run_check(agent, check); });
      check.due = Clock::now() + check.interval;
    }
    if (Clock::now() >= maintenance_due) {
      attempt("maintenance", [&] { maintain(agent); });
      maintenance_due = Clock::now() + maintenance_interval;
    }
    std::this_thread::sleep_for(tick);
  }
}

/// False when the thread is to stop.
bool wait_for(const std::stop_token& stop, std::chrono::duration<double> time) {
  std::mutex mutex;
  std::unique_lock lock(mutex);
  std::condition_variable_any().wait_for(lock, stop, time, [] { return false; });
  return !stop.stop_requested();
}

/// The work of the second thread.
void deliver_events(const std::stop_token& stop, const Config& config, SqliteStore store) {
  QueueingVornHistoryWriter writer(config, store);
  const FlushLimits limits{.stop = stop, .command_time = command_time};
  const int batch = config.vorn.max_batch < 1 ? default_batch : config.vorn.max_batch;
  const seconds interval = interval_of(config.vorn.flush_interval);
  // Hosts that start together must not flush together.
  std::random_device device;
  auto pause = interval * std::uniform_real_distribution<double>(0, 1)(device);
  while (wait_for(stop, pause)) {
    attempt("flush", [&] {
      while (writer.flush(limits) == batch && !stop.stop_requested()) continue;
    });
    pause = interval;
  }
}

void tell_of_agent(Agent& agent, const char* type) {
  log_message(LogLevel::Info, type);
  attempt(type, [&] {
    agent.writer.enqueue(type, json::object());
    agent.store.append_journal("agent", type, "ok", "", "");
  });
}

int run(const char* config_file) {
  // The path goes on to the append command, which may run in another directory by then.
  const Config config = load_config(std::filesystem::absolute(config_file));
  const std::vector<std::string> faults = validate_config(config);
  for (const std::string& fault : faults) log_message(LogLevel::Error, "configuration: " + fault);
  if (!faults.empty()) return 1;
  handle_signals();
  SqliteStore store(config.storage.local_db);
  QueueingVornHistoryWriter writer(config, store);
  Agent agent = {config, store, writer};
  std::vector<Check> checks = checks_of(config.checks);
  for (Check& check : checks) {  // what an earlier run has opened goes on
    const auto open = store.find_open_incident(subject(check));
    if (open) check.level = open->level;
  }
  tell_of_agent(agent, event_type::agent_started);
  {
    const std::jthread delivery(deliver_events, std::cref(config),
                                SqliteStore(config.storage.local_db));
    run_checks(agent, checks);
  }  // joined here, behind the event that is on its way
  tell_of_agent(agent, event_type::agent_stopped);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: host-agent CONFIG\n";
    return 2;
  }
  int status = 1;
  attempt("host-agent", [&] { status = run(argv[1]); });
  return status;
}
