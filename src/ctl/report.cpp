// zunol-monitoring-ctl report: the state of the host and its last hours, as a page for people.
//
// However much the store holds, the page stays below a megabyte or two and the tool below 32 MiB:
// results are gathered in the buckets of a chart while they are read, of the other records the
// first ones are shown, and what is left out is told.
#include "ctl/report.h"

#include <ctime>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "base/private_file.h"
#include "ctl/age.h"
#include "ctl/amounts.h"
#include "ctl/html.h"
#include "ctl/listing.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "ctl/report_page.h"
#include "store/recent.h"

namespace zunol_monitoring::ctl {
namespace {

namespace fs = std::filesystem;

constexpr int most_incidents = 100;
constexpr int most_charts = 100;
constexpr int most_entries = 200;

struct Arguments {
  std::string since = "24h";
  std::string file;
};

Period period_since(const std::string& since) {
  const Period period = {.from = seconds_of_timestamp(time_of(since), -1),
                         .until = std::time(nullptr)};
  if (period.from >= period.until) throw std::runtime_error("--since " + since + " is not past");
  return period;
}

/// Adds the sentence to what is left out, where it is about anything.
void leave_out(Report& report, std::int64_t number, const std::string& of_what) {
  if (number > 0) report.left_out.push_back(std::to_string(number) + ' ' + of_what);
}

/// Hands to `take` what `read` gives for the row ids, with texts that are long enough to be cut.
template <class Read, class Take>
void visit(StoreView& view, const RowIds& ids, Read read, Take take) {
  const auto read_cut = [read](sqlite3* db, std::span<const std::int64_t> page, int /*longest*/) {
    return read(db, page, static_cast<int>(longest_html_text) + 1);
  };
  visit_rows(view, ids, false, read_cut, [&](const auto& row) {
    take(row);
    return true;
  });
}

void add_incidents(Report& report, StoreView& view) {
  report.open_incidents = view.look(count_open_incidents);
  report.critical_incidents = view.look(count_open_critical_incidents);
  const RowIds ids = view.look([](sqlite3* db) { return open_incident_ids(db, most_incidents); });
  visit(view, ids, incidents,
        [&](const Incident& incident) { report.incidents += incident_card(incident); });
  leave_out(report, report.open_incidents - static_cast<std::int64_t>(ids.size()),
            "open incidents, none of them worse than those above");
}

void add_checks(Report& report, StoreView& view) {
  Trends& trends = report.trends;
  trends = read_trends(view, report.period);
  int charts = 0;
  for (const Trend& trend : trends.checks) {
    if (++charts > most_charts) break;
    std::string message;
    visit(view, {trend.last.id}, check_results,
          [&](const CheckResult& result) { message = result.message; });
    report.checks += check_card(trend, report.period, message);
  }
  leave_out(report, static_cast<std::int64_t>(trends.checks.size()) - most_charts,
            "checks, none of which fails unless all above do");
  leave_out(report, trends.results_of_more, "results of checks beyond the first 1000");
  leave_out(report, trends.results_outside, "results whose time is none or yet to come");
}

void add_journal(Report& report, StoreView& view, const std::string& since) {
  const RowIds ids =
      view.look([&](sqlite3* db) { return journal_ids_since(db, since, most_entries); });
  visit(view, ids, journal_entries,
        [&](const JournalEntry& entry) { report.journal += journal_row(entry); });
  const std::int64_t entries =
      view.look([&](sqlite3* db) { return count_journal_since(db, since); });
  leave_out(report, entries - static_cast<std::int64_t>(ids.size()),
            "older entries of the journal");
}

int write_report(const Tool& tool, const Arguments& arguments) {
  const Config config = read_config(tool.config);
  Report report = {.host = config.agent.server_name,
                   .store = config.storage.local_db.string(),
                   .period = period_since(arguments.since),
                   .store_bytes = store_size_bytes(fs::weakly_canonical(config.storage.local_db)),
                   .store_limit = config.storage.max_local_bytes};
  StoreView view = look_at_store(tool, config);
  report.queue = view.look(read_queue_figures);
  add_incidents(report, view);
  add_checks(report, view);
  add_journal(report, view, time_of(arguments.since));
  const std::string page = report_page(report);
  replace_file(arguments.file, page, owner_only);
  if (tool.json) {
    print_json(
        {{"path", arguments.file}, {"size_bytes", page.size()}, {"left_out", report.left_out}});
  } else {
    print("wrote " + printable(arguments.file) + ", " + bytes_text(page.size()) + '\n');
  }
  return done;
}

}  // namespace

void add_report_command(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command =
      add_command(tool, app, "report", "Write a page on queue, incidents, checks and journal",
                  [&tool, arguments] { return write_report(tool, *arguments); });
  add_option(command, "--html", arguments->file, "The file, written whole or not at all",
             {.word = "FILE", .required = true});
  add_option(command, "--since", arguments->since,
             "From when on: 2h, 3d, or a time such as 2026-01-31T12:00:00Z",
             {.word = "TIME", .check = is_time});
}

}  // namespace zunol_monitoring::ctl
