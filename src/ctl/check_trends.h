// How checks went over a period, in so few figures that a chart can show them: the results are
// gathered in buckets of equal length while they are read, newest first and some at a time.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "store/recent.h"
#include "store/store_view.h"

namespace zunol_monitoring::ctl {

/// Seconds since 1970; `until` is later than `from`.
struct Period {
  std::int64_t from = 0;
  std::int64_t until = 0;
};

struct Bucket {
  std::int64_t results = 0;
  std::int64_t failures = 0;
  std::int64_t values = 0;  ///< results with a value that can be drawn, which the next three are of
  double least = 0;
  double most = 0;
  double sum = 0;
};

inline constexpr std::size_t buckets_of_a_trend = 96;  ///< of a quarter of an hour in a day

struct Trend {
  ResultPoint last;  ///< the newest result
  std::array<Bucket, buckets_of_a_trend> buckets = {};
  Bucket total;
};

/// A time in which a check went on failing or passing, in buckets: from the first up to, but not
/// with, the second.
struct Stretch {
  std::size_t from = 0;
  std::size_t to = 0;
  bool failed = false;  ///< each of its buckets has a failure, and else none has
  std::int64_t failures = 0;
};

/// The stretches of a trend, in their order. Between two of them is a hole where results are
/// missing for more than three times as long as they usually are.
std::vector<Stretch> stretches(const Trend& trend);

struct Trends {
  std::vector<Trend> checks;  ///< those that fail now, then those that have failed, then the others
  std::int64_t failing = 0;   ///< how many fail now
  std::int64_t failed_before = 0;
  std::int64_t results = 0;          ///< that are shown
  std::int64_t results_of_more = 0;  ///< of checks that are not followed, as there are too many
  std::int64_t results_outside = 0;  ///< with a time that is none or later than the period
};

/// The checks with results in the period; of more than 1000, those with the newest ones.
Trends read_trends(StoreView& view, const Period& period);

}  // namespace zunol_monitoring::ctl
