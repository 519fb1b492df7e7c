// bench-fleet [HOSTS]: what a fleet asks of its ledger when that comes back after an outage,
// simulated and printed as the tables of docs/fleet.md. It starts from one seed, so the figures
// come again.
//
// Each host has 10 events an hour, at random times. Peaks are told as factors over the mean of the
// whole fleet, so they hold for fleets of any size; a small sample of hosts only scatters more.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <queue>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "zunol_monitoring/store/sync_queue.h"

namespace {

using zunol_monitoring::retry_delay_seconds;

constexpr double hour = 3600;
constexpr double events_per_hour = 10;
constexpr int events_of_a_burst = 10;
constexpr double attempt_time = 0.05;      ///< of one command, whether it succeeds or not
constexpr double watched_time = 4 * hour;  ///< after the outage
constexpr double no_room_limit = HUGE_VAL;

std::mt19937_64 generator;

double between(double least, double most) {
  return std::uniform_real_distribution<double>(least, most)(generator);
}
double until_next_event() {
  return std::exponential_distribution<double>(events_per_hour / hour)(generator);
}

/// A moment of the period, exact in binary, so that a look is never followed by itself.
double random_phase_of(double period) { return std::floor(between(0, period) * 1024) / 1024; }

/// When a host looks for what is due.
struct Timer {
  enum class Start { in_step, random_phase, from_last_end } start;
  double period;
  double jitter = 0;  ///< at random on top of each period from the last end

  /// The first look behind `end` that is not before `wanted`, of a host with this phase.
  double next(double phase, double end, double wanted) const {
    if (start == Start::from_last_end) {
      double look = end;
      do look += period + between(0, jitter);
      while (look < wanted);
      return look;
    }
    if (start == Start::in_step) phase = 0;
    const double after = std::floor((end - phase) / period) + 1;
    return phase + period * std::max(after, std::ceil((wanted - phase) / period));
  }
};

/// The ledger, away from 0 to `outage`, with room for so many visits a second, and its visitors.
struct Ledger {
  double outage;
  double room = no_room_limit;
  std::vector<int> visits = std::vector<int>(std::size_t(watched_time) + 600);  ///< of each second
  std::vector<int> events = visits;

  bool take(double time, int event_count = 1) {
    if (time < outage) return false;
    const auto second = std::size_t(time - outage);
    if (second >= visits.size()) return false;
    if (++visits[second] > room) return false;
    events[second] += event_count;
    return true;
  }
};

/// The most in so many seconds in a row, for each second.
double peak(const std::vector<int>& seconds, std::size_t width) {
  long sum = 0;
  long most = 0;
  for (std::size_t i = 0; i < seconds.size(); ++i) {
    sum += seconds[i] - (i >= width ? seconds[i - width] : 0);
    most = std::max(most, sum);
  }
  return double(most) / double(width);
}

/// The time until 99 % are in, or how many are when the watch ends.
std::string progress(std::vector<double> arrivals, std::size_t of) {
  const std::size_t wanted = of - of / 100;
  char text[40];
  if (arrivals.size() < wanted) {
    std::snprintf(text, sizeof text, "%.0f %% in %.0f h",
                  100.0 * double(arrivals.size()) / double(of), watched_time / hour);
  } else {
    const auto last = arrivals.begin() + std::ptrdiff_t(wanted) - 1;
    std::nth_element(arrivals.begin(), last, arrivals.end());
    std::snprintf(text, sizeof text, *last < 600 ? "%.0f s" : "%.0f min",
                  *last < 600 ? *last : *last / 60);
  }
  return text;
}

/// Visits in the order of time, those of one moment in any: what `visit` returns is the host's next
/// time.
void run_hosts(const std::vector<double>& first, double end,
               const std::function<double(std::size_t host, double time)>& visit) {
  using Turn = std::tuple<double, std::size_t, std::size_t>;  // the time, a lot, and the host
  std::priority_queue<Turn, std::vector<Turn>, std::greater<>> turns;
  for (std::size_t host = 0; host < first.size(); ++host) {
    turns.push({first[host], generator(), host});
  }
  while (!turns.empty() && std::get<0>(turns.top()) < end) {
    const auto [time, lot, host] = turns.top();
    turns.pop();
    turns.push({visit(host, time), generator(), host});  // in this order, for the same figures
  }
}

// Transport command: an attempt for each row, on the row's own schedule.

struct Flush {
  const char* name;
  Timer timer;
  std::size_t batch;
  int stop_after;  ///< failures in a row; 0: never
};

struct Row {
  double due;
  double born;
  int failures;
  bool operator>(const Row& other) const { return due > other.due; }
};

struct Host {
  double phase;
  double next_event;
  std::priority_queue<Row, std::vector<Row>, std::greater<>> rows;
};

/// The rows that are due, oldest first, at most a batch; the others stay.
std::vector<Row> take_due(Host& host, double time, std::size_t batch) {
  for (; host.next_event <= time; host.next_event += until_next_event()) {
    host.rows.push({host.next_event, host.next_event, 0});
  }
  std::vector<Row> due;
  for (; !host.rows.empty() && host.rows.top().due <= time; host.rows.pop()) {
    due.push_back(host.rows.top());
  }
  std::ranges::sort(due, {}, &Row::born);
  for (; due.size() > batch; due.pop_back()) host.rows.push(due.back());
  return due;
}

/// Flushes one host. Returns when the flush ends.
double flush(Host& host, double time, const Flush& how, Ledger& ledger, std::vector<double>& in) {
  int failures_in_a_row = 0;
  for (Row row : take_due(host, time, how.batch)) {
    if (how.stop_after == 0 || failures_in_a_row < how.stop_after) {
      time += attempt_time;
      if (ledger.take(time)) {
        failures_in_a_row = 0;
        if (row.born < ledger.outage) in.push_back(time - ledger.outage);
        continue;
      }
      ++failures_in_a_row;
      row.due = std::floor(time) + retry_delay_seconds(row.failures++);
    }
    host.rows.push(row);
  }
  return time;
}

void simulate_command(const Flush& how, std::size_t host_count, bool burst, Ledger ledger) {
  std::vector<Host> hosts(host_count);
  std::vector<double> first;
  std::size_t backlog = 0;
  for (Host& host : hosts) {
    host = {random_phase_of(how.timer.period), until_next_event(), {}};
    for (int i = 0; burst && i < events_of_a_burst; ++i) host.rows.push({0, 0, 0});
    first.push_back(how.timer.start == Timer::Start::in_step ? 0 : host.phase);
  }
  std::vector<double> in;
  const double end = ledger.outage + watched_time;
  run_hosts(first, end, [&](std::size_t i, double time) {
    Host& host = hosts[i];
    const double free = flush(host, time, how, ledger, in);
    const double next_row = host.rows.empty() ? host.next_event : host.rows.top().due;
    return how.timer.next(host.phase, free, std::min(next_row, host.next_event));
  });
  backlog = in.size();
  for (Host& host : hosts) {
    for (; !host.rows.empty(); host.rows.pop())
      backlog += host.rows.top().born < ledger.outage ? 1 : 0;
  }
  const double mean = double(host_count) * events_per_hour / hour;
  std::printf(" %.0f / %.0f | %s |", peak(ledger.visits, 1) / mean, peak(ledger.visits, 30) / mean,
              progress(std::move(in), backlog).c_str());
}

// Transport spool with collectors: a connection for all that waits.

struct Collector {
  const char* name;
  Timer timer;
  double longest_pause = 0;  ///< between attempts; 0: the timer's
};

/// As postgres-ledger waits: after failures twice as long each time, with a random part.
double pause_after(const Collector& how, int failures) {
  const double factor = failures == 0 ? 1 : std::exp2(std::min(failures - 1, 10));
  const double least = failures == 0 ? 0.5 : 0.25;
  return between(least, least + 1) * std::min(how.timer.period * factor, how.longest_pause);
}

void simulate_collectors(const Collector& how, std::size_t host_count, Ledger ledger) {
  struct Spool {
    double phase;
    double next_event;
    int waiting = 0;
    int failures = 0;
    bool was_emptied = false;
  };
  std::vector<Spool> spools;
  std::vector<double> first;
  for (std::size_t i = 0; i < host_count; ++i) {
    spools.push_back(
        {.phase = random_phase_of(how.timer.period), .next_event = until_next_event()});
    first.push_back(how.timer.start == Timer::Start::in_step ? 0 : spools.back().phase);
  }
  std::vector<double> in;
  run_hosts(first, ledger.outage + watched_time, [&](std::size_t i, double time) {
    Spool& spool = spools[i];
    for (; spool.next_event <= time; spool.next_event += until_next_event()) ++spool.waiting;
    if (spool.waiting > 0 && ledger.take(time, spool.waiting)) {
      if (!std::exchange(spool.was_emptied, true)) in.push_back(time - ledger.outage);
      spool.waiting = spool.failures = 0;
    } else if (spool.waiting > 0) {
      ++spool.failures;
    }
    if (how.longest_pause > 0) return time + pause_after(how, spool.failures);
    return how.timer.next(spool.phase, time, time);
  });
  const double thousands = double(host_count) / 1000;
  std::printf(" %.0f | %.0f | %s |", peak(ledger.visits, 1) / thousands,
              peak(ledger.events, 1) / (thousands * 1000 * events_per_hour / hour),
              progress(std::move(in), host_count).c_str());
}

constexpr Timer in_step{Timer::Start::in_step, 30};
constexpr Timer random_phase{Timer::Start::random_phase, 30};
const Flush flushes[] = {
    {"all timers in step", in_step, 100, 0},
    {"random phase", random_phase, 100, 0},
    {"30 to 60 s after the last", {Timer::Start::from_last_end, 30, 30}, 100, 0},
    {"random phase, stop after 3 failures", random_phase, 100, 3},
    {"the package's timer", {Timer::Start::from_last_end, 30, 5}, SIZE_MAX, 3}};
const Collector collectors[] = {
    {"each 60 s, in step", {Timer::Start::in_step, 60}},
    {"each 60 s, random phase", {Timer::Start::random_phase, 60}},
    {"postgres-ledger, 60 s to 5 min", {Timer::Start::from_last_end, 60}, 300}};

void print_commands(std::size_t hosts) {
  for (const bool burst : {false, true}) {
    std::printf(
        "\nTransport command%s: peak in 1 s / 30 s as factor over the mean, and when 99 %% are "
        "in\n\n"
        "| Flush | after 1 h | | after 24 h | | after 1 h, room for 10 x the mean | |\n"
        "|---|---|---|---|---|---|---|\n",
        burst ? ", 10 events on each host as the outage begins" : "");
    for (const Flush& how : flushes) {
      std::printf("| %s |", how.name);
      simulate_command(how, hosts, burst, {.outage = hour});
      simulate_command(how, hosts, burst, {.outage = 24 * hour});
      simulate_command(how, hosts, burst,
                       {.outage = hour, .room = 10 * double(hosts) * events_per_hour / hour});
      std::printf("\n");
      std::fflush(stdout);
    }
  }
}

void print_collectors(std::size_t hosts) {
  std::printf(
      "\nCollectors after 24 h: connections in 1 s for 1,000 hosts, events in 1 s as factor over "
      "the "
      "mean, and when 99 %% of the hosts are in\n\n"
      "| Collector | any room | | | room for 10 connections a second for 1,000 hosts | | |\n"
      "|---|---|---|---|---|---|---|\n");
  for (const Collector& how : collectors) {
    std::printf("| %s |", how.name);
    simulate_collectors(how, hosts, {.outage = 24 * hour});
    simulate_collectors(how, hosts, {.outage = 24 * hour, .room = double(hosts) / 100});
    std::printf("\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  const long hosts = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 2000;
  if (argc > 2 || hosts < 100) {
    std::fprintf(stderr, "usage: bench-fleet [HOSTS], at least 100\n");
    return 2;
  }
  std::printf("%ld hosts with %.0f events an hour each\n", hosts, events_per_hour);
  print_commands(std::size_t(hosts));
  print_collectors(std::size_t(hosts));
}
