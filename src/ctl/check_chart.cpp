#include "ctl/check_chart.h"

#include <algorithm>
#include <cstdio>

#include "ctl/age.h"
#include "ctl/amounts.h"

namespace zunol_monitoring::ctl {
namespace {

// In units of the picture: a bucket is 1 wide.
constexpr double top = 2;
constexpr double bottom = 30;

constexpr const char* chart_skeleton =
    R"(<svg viewBox="0 0 96 36" preserveAspectRatio="none" role="img">
<title>{title}</title><desc>{description}</desc>
<path class="grid" d="M24 0V36M48 0V36M72 0V36"/>
{rail}<path class="band" d="{band}"/>
<path class="line" d="{line}"/>
</svg>)";
constexpr const char* passed_skeleton =
    R"(<rect class="passed" x="{x}" y="34" width="{width}" height="2"/>
)";
constexpr const char* failed_skeleton =
    R"(<g class="failed"><title>{title}</title><rect class="tint" x="{x}" y="0" width="{width}" height="36"/><rect x="{x}" y="32" width="{width}" height="4"/></g>
)";

std::string one_decimal(double number) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", number);
  return text;
}

/// A point of a path, "12.5 7.0", at the middle of the bucket.
std::string point(std::size_t bucket, double value, const Bucket& total) {
  const double range = total.most - total.least;
  const double share = range > 0 ? (value - total.least) / range : 0.5;
  return one_decimal(static_cast<double>(bucket) + 0.5) + ' ' +
         one_decimal(bottom - share * (bottom - top));
}

double mean(const Bucket& bucket) { return bucket.sum / static_cast<double>(bucket.values); }

struct Paths {
  std::string line;
  std::string band;
};

/// Adds the buckets from `from` up to `to`, between which no results are missing.
void add_run(Paths& paths, const Trend& trend, std::size_t from, std::size_t to) {
  std::string line;
  std::string upper;
  std::string lower;
  for (std::size_t i = from; i < to; ++i) {
    const Bucket& bucket = trend.buckets[i];
    if (bucket.values == 0) continue;
    const char* const joint = line.empty() ? "M" : "L";
    line += joint + point(i, mean(bucket), trend.total);
    upper += joint + point(i, bucket.most, trend.total);
    lower.insert(0, 'L' + point(i, bucket.least, trend.total));
  }
  if (line.empty()) return;
  paths.line += line + "h0.01";  // a single point is a dot
  paths.band += upper + lower + 'Z';
}

Paths paths_of(const Trend& trend, const std::vector<Stretch>& all) {
  Paths paths;
  for (std::size_t i = 0; i < all.size();) {
    std::size_t last = i;
    while (last + 1 < all.size() && all[last + 1].from == all[last].to) ++last;
    add_run(paths, trend, all[i].from, all[last].to);
    i = last + 1;
  }
  return paths;
}

/// "2026-01-31 12:00", UTC.
std::string time_of_bucket(std::size_t bucket, const Period& period) {
  const std::int64_t at = period.from + static_cast<std::int64_t>(bucket) *
                                            (period.until - period.from) /
                                            static_cast<std::int64_t>(buckets_of_a_trend);
  std::string text = timestamp_of_seconds(at);
  return text.substr(0, 10) + ' ' + text.substr(11, 5);
}

std::string description(const Trend& trend) {
  const Bucket& total = trend.total;
  std::string text = std::to_string(total.failures) + " of " + std::to_string(total.results) +
                     " results failed, the last one " + (trend.last.failed ? "failed" : "passed");
  if (total.values > 0) {
    text += "; values from " + number_text(total.least) + " to " + number_text(total.most) +
            ", the last one " + number_text(trend.last.value);
  }
  return text + '.';
}

Html rail(const std::vector<Stretch>& all, const Period& period) {
  Html marks;
  for (const Stretch& stretch : all) {
    marks += fill(stretch.failed ? failed_skeleton : passed_skeleton,
                  {{"x", std::to_string(stretch.from)},
                   {"width", std::to_string(stretch.to - stretch.from)},
                   {"title", std::to_string(stretch.failures) + " failed from " +
                                 time_of_bucket(stretch.from, period) + " to " +
                                 time_of_bucket(stretch.to, period)}});
  }
  return marks;
}

}  // namespace

Html check_chart(const Trend& trend, const Period& period, const std::string& name) {
  const std::vector<Stretch> all = stretches(trend);
  const Paths paths = paths_of(trend, all);
  return fill(chart_skeleton, {{"title", name},
                               {"description", description(trend)},
                               {"rail", rail(all, period)},
                               {"band", Html::markup(paths.band)},
                               {"line", Html::markup(paths.line)}});
}

}  // namespace zunol_monitoring::ctl
