#include "ctl/check_trends.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

#include "ctl/age.h"

namespace zunol_monitoring::ctl {
namespace {

constexpr std::size_t most_checks = 1000;  // 5 MiB
constexpr int results_of_a_look = 2000;
constexpr double largest_value = 1e300;  // so that sums and differences stay finite

auto name_of(const ResultPoint& point) {
  return std::tie(point.check_type, point.check_name, point.target);
}

void add(Bucket& bucket, const ResultPoint& point) {
  ++bucket.results;
  if (point.failed) ++bucket.failures;
  if (!(std::abs(point.value) <= largest_value)) return;
  bucket.least = bucket.values == 0 ? point.value : std::min(bucket.least, point.value);
  bucket.most = bucket.values == 0 ? point.value : std::max(bucket.most, point.value);
  bucket.sum += point.value;
  ++bucket.values;
}

/// The trends while they are gathered.
class Tally {
 public:
  explicit Tally(const Period& period) : period_(period) {}

  void add(const ResultPoint& point) {
    const std::int64_t at = seconds_of_timestamp(point.created_at, -1);
    if (at < period_.from || at > period_.until) {
      ++trends_.results_outside;
      return;
    }
    Trend* trend = find(point);
    if (trend == nullptr) {
      ++trends_.results_of_more;
      return;
    }
    ++trends_.results;
    if (point.created_at > trend->last.created_at) trend->last = point;
    const auto bucket = (at - period_.from) * static_cast<std::int64_t>(buckets_of_a_trend) /
                        (period_.until - period_.from);
    ctl::add(trend->buckets[std::min(static_cast<std::size_t>(bucket), buckets_of_a_trend - 1)],
             point);
    ctl::add(trend->total, point);
  }

  Trends finish() {
    const auto rank = [](const Trend& trend) {
      return std::tuple(!trend.last.failed, trend.total.failures == 0, name_of(trend.last));
    };
    std::ranges::sort(trends_.checks, {}, rank);
    for (const Trend& trend : trends_.checks) {
      if (trend.last.failed) {
        ++trends_.failing;
      } else if (trend.total.failures > 0) {
        ++trends_.failed_before;
      }
    }
    return std::move(trends_);
  }

 private:
  /// The trend of this point's check; none when there are too many.
  Trend* find(const ResultPoint& point) {
    const auto found = index_.find(name_of(point));
    if (found != index_.end()) return &trends_.checks[found->second];
    if (index_.size() == most_checks) return nullptr;
    index_.emplace(name_of(point), index_.size());
    return &trends_.checks.emplace_back(Trend{.last = point});
  }

  Period period_;
  Trends trends_;
  std::map<std::tuple<std::string, std::string, std::string>, std::size_t, std::less<>> index_;
};

/// The buckets with results.
std::vector<std::size_t> filled_buckets(const Trend& trend) {
  std::vector<std::size_t> filled;
  for (std::size_t i = 0; i < buckets_of_a_trend; ++i) {
    if (trend.buckets[i].results > 0) filled.push_back(i);
  }
  return filled;
}

}  // namespace

std::vector<Stretch> stretches(const Trend& trend) {
  const std::vector<std::size_t> filled = filled_buckets(trend);
  if (filled.empty()) return {};
  const std::size_t longest_step =
      3 * (filled.back() - filled.front()) / std::max<std::size_t>(1, filled.size() - 1);
  std::vector<Stretch> found;
  for (std::size_t i = 0; i < filled.size(); ++i) {
    const std::size_t at = filled[i];
    const bool joined = i + 1 < filled.size() && filled[i + 1] - at <= longest_step;
    const std::size_t end = joined ? filled[i + 1] : at + 1;
    const Bucket& bucket = trend.buckets[at];
    const bool has_failures = bucket.failures > 0;
    if (found.empty() || found.back().to != at || found.back().failed != has_failures) {
      found.push_back({.from = at, .to = end, .failed = has_failures});
    }
    found.back().to = end;
    found.back().failures += bucket.failures;
  }
  return found;
}

Trends read_trends(StoreView& view, const Period& period) {
  Tally tally(period);
  const std::string since = timestamp_of_seconds(period.from);
  for (std::int64_t before = std::numeric_limits<std::int64_t>::max();;) {
    const std::vector<ResultPoint> points =
        view.look([&](sqlite3* db) { return result_points(db, since, before, results_of_a_look); });
    for (const ResultPoint& point : points) tally.add(point);
    if (points.size() < results_of_a_look) return tally.finish();
    before = points.back().id;
  }
}

}  // namespace zunol_monitoring::ctl
