// zunol-monitoring-ctl results plot: a line for each series of a check's results.
#include "ctl/results_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "ctl/age.h"
#include "ctl/amounts.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "store/inspection.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

constexpr int most_series = 20;
constexpr int default_width = 80;

struct PlotArguments {
  std::string name;
  std::string since;
};

using Means = std::vector<std::optional<double>>;

/// The level of a value in its range, from 0 to `levels` - 1; the middle one where that is a point.
std::size_t level_of(double value, const ResultSeries& series, std::size_t levels) {
  // Halves, as the range of two large numbers may be none.
  const double share = (value / 2 - series.least / 2) / (series.greatest / 2 - series.least / 2);
  if (!std::isfinite(share)) return levels / 2;
  return std::min(levels - 1, static_cast<std::size_t>(share * static_cast<double>(levels)));
}

/// A character for each span, a blank where it has no result.
std::string drawn(const Means& means, const ResultSeries& series) {
  static const std::vector<std::string> blocks = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  static const std::vector<std::string> ascii = {"_", ".", "-", "=", "+", "*", "%", "#"};
  const auto& levels = takes_utf8() ? blocks : ascii;
  std::string line;
  for (const auto& mean : means) {
    line += mean ? levels[level_of(*mean, series, levels.size())] : " ";
  }
  return line;
}

void print_series(const ResultSeries& series, const Means& means) {
  print(printable(series.check_type + ' ' + series.check_name + ' ' + series.target) + ": " +
        number_text(series.least) + " to " + number_text(series.greatest) + ", " +
        std::to_string(series.results) + " results\n" + drawn(means, series) + '\n');
}

json series_json(const ResultSeries& series, const Means& means) {
  json values = json::array();
  for (const auto& mean : means) values.push_back(mean ? json(*mean) : json(nullptr));
  return {{"check_type", series.check_type},
          {"check_name", series.check_name},
          {"target", series.target},
          {"results", series.results},
          {"min", series.least},
          {"max", series.greatest},
          {"from", timestamp_of_seconds(series.from_sec)},
          {"until", timestamp_of_seconds(series.until_sec)},
          {"means", values}};
}

/// All series are drawn over the same time, so that they compare.
int plot(const Tool& tool, const PlotArguments& arguments) {
  StoreView view = look_at_store(tool, read_config(tool.config));
  const std::string since = time_of(arguments.since);
  std::vector<ResultSeries> all = view.look(
      [&](sqlite3* db) { return result_series(db, arguments.name, since, most_series + 1); });
  if (all.empty()) throw std::runtime_error("no results of a check named " + arguments.name);
  const bool more = all.size() > most_series;
  if (more) all.pop_back();
  const auto from = std::ranges::min(all, {}, &ResultSeries::from_sec).from_sec;
  const auto until = std::ranges::max(all, {}, &ResultSeries::until_sec).until_sec;
  const int terminal = terminal_width();
  const int width = terminal > 0 ? terminal : default_width;
  for (const ResultSeries& series : all) {
    const Means means =
        view.look([&](sqlite3* db) { return result_means(db, series, from, until, width); });
    if (tool.json) {
      print_json(series_json(series, means));
    } else {
      print_series(series, means);
    }
  }
  if (tool.json) return done;
  print("from " + timestamp_of_seconds(from) + " to " + timestamp_of_seconds(until) + '\n');
  if (more) print("only the first " + std::to_string(most_series) + " series are shown\n");
  return done;
}

}  // namespace

void add_plot_command(CLI::App& results, Tool& tool) {
  const auto arguments = std::make_shared<PlotArguments>();
  CLI::App& command =
      add_command(tool, results, "plot", "Draw the values of a check as wide as the terminal",
                  [&tool, arguments] { return plot(tool, *arguments); });
  add_option(command, "NAME", arguments->name, "The check's name", {.required = true});
  add_option(command, "--since", arguments->since, since_meaning,
             {.word = "TIME", .check = is_time});
}

}  // namespace zunol_monitoring::ctl
