#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <system_error>
#include <utility>

#include "base/progress_bar.h"
#include "commands.h"
#include "failure.h"
#include "ledger.h"
#include "spool/spool_directory.h"

namespace zunol_monitoring::postgres_ledger {
namespace {

/// A batch ends before this, and takes a few times as much in memory.
constexpr std::size_t largest_batch_bytes = 16UL * 1024 * 1024;

/// Holds back the signals that end a collector, which asks for them where it can end.
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGTERM);
    sigaddset(&signals_, SIGINT);
    sigprocmask(SIG_BLOCK, &signals_, nullptr);
  }

  /// Whether one has come, or comes within this time.
  bool wait(double seconds = 0) {
    constexpr double nanoseconds = 1e9;
    const auto whole = static_cast<std::time_t>(seconds);
    const timespec time = {whole, static_cast<long>((seconds - double(whole)) * nanoseconds)};
    if (!come_ && sigtimedwait(&signals_, nullptr, &time) > 0) come_ = true;
    return come_;
  }

 private:
  sigset_t signals_ = {};
  bool come_ = false;
};

double between(double least, double most) {
  static std::mt19937_64 generator{std::random_device{}()};
  return std::uniform_real_distribution<double>(least, most)(generator);
}

/// Seconds until the next pass, at random, so that hosts which began together do not come together;
/// after failures of the server in a row twice as long each time, up to five periods.
double pause_sec(int period_sec, int failures) {
  constexpr int most_doublings = 3;
  constexpr int longest = 5;
  const int factor =
      failures == 0 ? 1 : std::min(longest, 1 << std::min(failures - 1, most_doublings));
  const double least = failures == 0 ? 0.5 : 0.25;
  return between(least, least + 1) * period_sec * factor;
}

class Collector {
 public:
  Collector(const Collection& collection, EndSignals& signals)
      : collection_(collection), signals_(signals) {}

  /// Takes what is there now. Returns done; never, where some files were set aside; or try_again,
  /// where some were left.
  int pass(const std::vector<std::unique_ptr<SpoolDirectory>>& spools) {
    status_ = done;
    server_failed_ = false;
    server_is_away_ = false;
    for (const auto& spool : spools) {
      if (!collection_.each) attempt(spool->path(), [&] { empty(*spool); });
      if (collection_.each) attempt(spool->path(), [&] { empty_each(*spool); });
    }
    connection_.reset();  // the next pass may be far away, and the server has few
    return status_;
  }

  /// Whether the last pass met a failure that is not one of its files: only these are waited for.
  bool server_failed() const { return server_failed_; }

 private:
  /// A failure of one directory is told and leaves the others to be tried, unless the server is
  /// away.
  template <class Work>
  void attempt(const std::filesystem::path& path, Work work) {
    if (is_told_to_end() || server_is_away_) return;
    try {
      work();
    } catch (const std::exception& error) {
      status_ = try_again;
      progress_.reset();
      print_error(path.string() + ": " + error.what());
      const auto* failure = dynamic_cast<const Failure*>(&error);
      if (failure == nullptr || failure->status == wrong_usage) return;
      server_failed_ = true;
      server_is_away_ = !connection_ || !connection_->usable();
      if (server_is_away_) connection_.reset();
    }
  }

  void empty_each(const SpoolDirectory& parent) {
    for (const std::string& name : parent.directories()) {
      attempt(parent.path() / name, [&] { empty(SpoolDirectory(parent, name)); });
    }
  }

  void empty(const SpoolDirectory& spool) {
    std::vector<std::string> names;
    do {
      names = spool.files();
      settled_ = 0;
      take(spool, names);
    } while (names.size() == SpoolDirectory::most_listed && settled_ > 0);
  }

  void take(const SpoolDirectory& spool, std::vector<std::string>& names) {
    std::stable_partition(names.begin(), names.end(), [&](const std::string& name) {
      return !late_.contains(spool.path() / name);
    });
    set_aside_ = 0;
    progress_.emplace(collection_.once ? static_cast<std::int64_t>(names.size()) : 0);
    std::vector<SpoolFile> batch;
    std::size_t bytes = 0;
    const auto send = [&] {
      if (!batch.empty()) deliver(spool, batch);
      batch.clear();
      bytes = 0;
      progress_->show(settled_);
    };
    for (const std::string& name : names) {
      if (is_told_to_end()) return;
      std::optional<SpoolFile> file = read(spool, name);
      if (!file) continue;
      if (bytes + file->event.size() > largest_batch_bytes) send();
      bytes += file->event.size();
      batch.push_back(std::move(*file));
      if (batch.size() == static_cast<std::size_t>(collection_.batch)) send();
    }
    send();
    progress_.reset();
  }

  /// What has not been looked at is left then.
  bool is_told_to_end() {
    if (!signals_.wait()) return false;
    status_ = try_again;
    return true;
  }

  /// An event; nothing where the file is none, is gone or cannot be read. One file of which the
  /// last is true does not stop those behind it.
  std::optional<SpoolFile> read(const SpoolDirectory& spool, const std::string& name) {
    try {
      std::optional<SpoolFile> file = spool.read(name);
      if (!file || !file->fault) return file;
      set_aside(spool, *file, *file->fault);
    } catch (const std::system_error& error) {
      say_failure(error.what());
      status_ = try_again;
    }
    return std::nullopt;
  }

  /// One call and one commit, or two with a half of it each: where the server cannot take the data,
  /// until it is clear which file is at fault, and where it has not come to an end in time, as a
  /// batch can be more than a slow line carries.
  void deliver(const SpoolDirectory& spool, std::span<const SpoolFile> files) {
    std::vector<Event> events;
    for (const SpoolFile& file : files) events.push_back({file.event_id, file.event});
    const auto begin = std::chrono::steady_clock::now();
    Appended appended;
    try {
      if (!connection_) connection_ = std::make_unique<Connection>(collection_.service);
      appended = append_events(*connection_, block_of(spool), events);
    } catch (const Failure& failure) {
      const bool late = connection_ && connection_->timed_out();
      if (failure.status != never && !late) throw;
      if (files.size() == 1 && !late) return set_aside(spool, files[0], failure.what());
      if (files.size() == 1) late_.insert(spool.path() / files[0].name);
      if (files.size() == 1 || is_told_to_end()) throw;
      if (late) connection_.reset();
      deliver(spool, files.first(files.size() / 2));
      return deliver(spool, files.subspan(files.size() / 2));
    }
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begin;
    settle(spool, files, appended, took.count());
  }

  /// Behind the commit: the files go.
  void settle(const SpoolDirectory& spool, std::span<const SpoolFile> files,
              const Appended& appended, double milliseconds) {
    std::size_t added = 0;
    std::size_t known = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
      const std::string& verdict = appended.verdicts[i];
      added += verdict == verdict_added ? 1 : 0;
      known += verdict == verdict_known ? 1 : 0;
      if (verdict == verdict_added || verdict == verdict_known) {
        spool.remove(files[i]);
        ++settled_;
      } else {
        set_aside(spool, files[i],
                  explain_verdict(verdict, appended.head.block, files[i].event_id));
      }
    }
    progress_->clear();
    std::printf("%s: %zu added, %zu known, %zu set aside in %.0f ms: %s\n",
                one_line(spool.path().string()).c_str(), added, known, std::exchange(set_aside_, 0),
                milliseconds, anchor_line(appended.head).c_str());
    std::fflush(stdout);
  }

  void set_aside(const SpoolDirectory& spool, const SpoolFile& file, const std::string& reason) {
    spool.set_aside(file, reason);
    ++settled_;
    ++set_aside_;
    say_failure((spool.path() / file.name).string() + " is set aside: " + reason);
    if (status_ == done) status_ = never;
  }

  void say_failure(const std::string& message) const {
    progress_->clear();
    print_error(message);
  }

  /// A name that no block can have is not the fault of the files.
  std::string block_of(const SpoolDirectory& spool) const {
    std::string block = collection_.block;
    if (block.empty()) block = std::filesystem::canonical(spool.path()).filename().string();
    if (!can_be_id(block)) throw Failure(wrong_usage, "no block can have the name " + block);
    return block;
  }

  const Collection& collection_;
  EndSignals& signals_;
  std::unique_ptr<Connection> connection_;
  std::optional<ProgressBar> progress_;
  /// Files that alone were not done in time: those behind them do not wait for them again.
  std::set<std::filesystem::path> late_;
  std::int64_t settled_ = 0;   ///< files of this listing that have gone
  std::size_t set_aside_ = 0;  ///< those of them that no line has told yet
  int status_ = done;
  bool server_failed_ = false;
  bool server_is_away_ = false;
};

}  // namespace

int collect(const Collection& collection) {
  EndSignals signals;
  std::vector<std::unique_ptr<SpoolDirectory>> spools;
  for (const auto& path : collection.directories) {
    spools.push_back(std::make_unique<SpoolDirectory>(path));
  }
  Collector collector(collection, signals);
  if (collection.once) {
    const int status = collector.pass(spools);
    if (signals.wait() && status == try_again) print_error("told to end before all was collected");
    return status;
  }
  // Hosts that boot together begin together, too.
  if (signals.wait(between(0, collection.period_sec))) return done;
  for (int failures = 0;;) {
    for (const auto& spool : spools) spool->require_in_place();
    collector.pass(spools);
    failures = collector.server_failed() ? failures + 1 : 0;
    if (signals.wait(pause_sec(collection.period_sec, failures))) return done;
  }
}

}  // namespace zunol_monitoring::postgres_ledger
