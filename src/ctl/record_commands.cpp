// zunol-monitoring-ctl incidents, journal and results: what the agent has recorded, newest first.
#include "ctl/age.h"
#include "ctl/amounts.h"
#include "ctl/incident_trail.h"
#include "ctl/listing.h"
#include "ctl/open_store.h"
#include "ctl/read_config.h"
#include "ctl/record_json.h"
#include "ctl/results_plot.h"
#include "ctl/tool.h"

namespace zunol_monitoring::ctl {
namespace {

struct Filters {
  int limit = 50;
  bool open = false;       ///< incidents
  std::string level;       ///< incidents
  std::string category;    ///< journal
  std::string incident;    ///< incidents: the id of the only one
  std::string check_type;  ///< results
  std::string state;       ///< results
  std::string since;       ///< results: a time, or a duration back from now
};

template <class Read, class Wanted, class CellsOf>
int print_records(const Tool& tool, const Filters& filters, StoreView& view, const char* table,
                  const RowIds& ids, Read read, Wanted wanted, Listing listing, CellsOf cells_of) {
  visit_rows(view, ids, tool.json, read, [&](const auto& record) {
    if (!wanted(record)) return true;
    listing.add(
        record, [](const auto& r) { return to_json(r); }, cells_of);
    return listing.rows() < filters.limit;
  });
  const std::int64_t rows = view.look([&](sqlite3* db) { return count_rows(db, table); });
  listing.finish(rows, more_by_limit(listing.rows(), filters.limit));
  return done;
}

constexpr auto every_record = [](const auto&) { return true; };

int list_incidents(const Tool& tool, const Filters& filters) {
  if (!filters.incident.empty()) return show_incident(tool, filters.incident, filters.limit);
  StoreView view = look_at_store(tool, read_config(tool.config));
  const auto wanted = [&](const Incident& incident) {
    return (!filters.open || is_open(incident.status)) &&
           (filters.level.empty() || filters.level == severity_name(incident.level));
  };
  Listing listing(tool.json, {"LEVEL", "STATUS", "SEEN", "TITLE", "TARGET", "TIMES", "FIRST", "ID"},
                  3);
  return print_records(tool, filters, view, "incidents", view.look(incident_ids), incidents, wanted,
                       std::move(listing), [](const Incident& i) -> std::vector<std::string> {
                         return {severity_name(i.level),
                                 incident_status_name(i.status),
                                 age_text(i.last_seen_at),
                                 i.title,
                                 i.target,
                                 std::to_string(i.repeat_count),
                                 age_text(i.first_seen_at),
                                 i.id};
                       });
}

int list_journal(const Tool& tool, const Filters& filters) {
  StoreView view = look_at_store(tool, read_config(tool.config));
  const RowIds ids = view.look([&](sqlite3* db) {
    return journal_ids(db, filters.category, std::min(filters.limit, max_journal_listing));
  });
  return print_records(tool, filters, view, "agent_journal", ids, journal_entries, every_record,
                       journal_listing(tool), journal_cells);
}

int list_results(const Tool& tool, const Filters& filters) {
  StoreView view = look_at_store(tool, read_config(tool.config));
  const ResultFilter wanted = {
      .check_type = filters.check_type, .state = filters.state, .since = time_of(filters.since)};
  const RowIds ids =
      view.look([&](sqlite3* db) { return check_result_ids(db, wanted, filters.limit); });
  Listing listing(tool.json,
                  {"STATE", "LEVEL", "AGE", "TYPE", "NAME", "VALUE", "MESSAGE", "TARGET", "TIME"},
                  6);
  return print_records(tool, filters, view, "check_results", ids, check_results, every_record,
                       std::move(listing), [](const CheckResult& r) -> std::vector<std::string> {
                         return {check_status_name(r.state),
                                 severity_name(r.level),
                                 age_text(r.created_at),
                                 r.check_type,
                                 r.check_name,
                                 number_text(r.value),
                                 r.message,
                                 r.target,
                                 r.created_at};
                       });
}

}  // namespace

void add_record_commands(CLI::App& app, Tool& tool) {
  const auto filters = std::make_shared<Filters>();
  const auto add = [&](const char* name, const char* description, auto run) -> CLI::App& {
    CLI::App& command = add_command(tool, app, name, description,
                                    [&tool, filters, run] { return run(tool, *filters); });
    add_limit(command, filters->limit);
    return command;
  };
  CLI::App& incidents =
      add("incidents", "List incidents, those seen last first, or show one with its trail",
          list_incidents);
  add_option(incidents, "ID", filters->incident, "One incident");
  add_flag(incidents, "--open", filters->open, "Only those that are not resolved");
  add_option(incidents, "--level", filters->level, "Only those of this level",
             {.word = "LEVEL", .allowed = {"info", "warning", "critical"}});
  add_option(
      add("journal", "List what the agent did, newest first; at most 1000 entries", list_journal),
      "--category", filters->category, "Only entries of this category", {.word = "NAME"});
  CLI::App& results = add("results", "List results of checks, newest first", list_results);
  add_option(results, "--type", filters->check_type, "Only results of checks of this type",
             {.word = "TYPE"});
  add_option(results, "--state", filters->state, "Only results of this state",
             {.word = "STATE", .allowed = {"ok", "failed"}});
  add_option(results, "--since", filters->since, since_meaning, {.word = "TIME", .check = is_time});
  add_plot_command(results, tool);
}

}  // namespace zunol_monitoring::ctl
