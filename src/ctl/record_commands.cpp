// zunol-monitoring-ctl incidents, journal and results: what the agent has recorded, newest first.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "ctl/age.h"
#include "ctl/listing.h"
#include "ctl/open_store.h"
#include "ctl/read_config.h"
#include "ctl/tool.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

struct Filters {
  int limit = 50;
  bool open = false;       ///< incidents
  std::string level;       ///< incidents
  std::string category;    ///< journal
  std::string check_type;  ///< results
};

json to_json(const Incident& i) {
  return {{"id", i.id},
          {"fingerprint", i.fingerprint},
          {"check_type", i.check_type},
          {"check_name", i.check_name},
          {"target", i.target},
          {"level", severity_name(i.level)},
          {"status", incident_status_name(i.status)},
          {"title", i.title},
          {"message", i.message},
          {"current_value", i.current_value},
          {"first_seen_at", i.first_seen_at},
          {"last_seen_at", i.last_seen_at},
          {"resolved_at", i.resolved_at},
          {"repeat_count", i.repeat_count}};
}

json to_json(const JournalEntry& e) {
  return {{"id", e.id},
          {"category", e.category},
          {"action", e.action},
          {"status", e.status},
          {"message", e.message},
          {"details", e.details},
          {"created_at", e.created_at}};
}

json to_json(const CheckResult& r) {
  return {{"check_type", r.check_type},
          {"check_name", r.check_name},
          {"target", r.target},
          {"state", check_status_name(r.state)},
          {"level", severity_name(r.level)},
          {"message", r.message},
          {"value", r.value},
          {"labels", r.labels},
          {"created_at", r.created_at}};
}

std::string number_text(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

template <class Read, class Wanted, class CellsOf>
int print_records(const Tool& tool, const Filters& filters, StoreView& view, const RowIds& ids,
                  Read read, Wanted wanted, std::vector<std::string> heads, CellsOf cells_of) {
  Listing listing(tool.json, std::move(heads));
  int left = filters.limit;
  visit_rows(view, ids, read, [&](const auto& record) {
    if (!wanted(record)) return true;
    listing.add(
        record, [](const auto& r) { return to_json(r); }, cells_of);
    return --left > 0;
  });
  listing.finish();
  return done;
}

constexpr auto all = [](const auto&) { return true; };

int list_incidents(const Tool& tool, const Filters& filters) {
  StoreView view = look_at_store(tool, read_config(tool.config));
  const auto wanted = [&](const Incident& incident) {
    return (!filters.open || is_open(incident.status)) &&
           (filters.level.empty() || filters.level == severity_name(incident.level));
  };
  return print_records(tool, filters, view, view.look(incident_ids), incidents, wanted,
                       {"LEVEL", "STATUS", "SEEN", "FIRST", "TIMES", "TARGET", "TITLE", "ID"},
                       [](const Incident& i) -> std::vector<std::string> {
                         return {severity_name(i.level),
                                 incident_status_name(i.status),
                                 age_text(i.last_seen_at),
                                 age_text(i.first_seen_at),
                                 std::to_string(i.repeat_count),
                                 i.target,
                                 i.title,
                                 i.id};
                       });
}

int list_journal(const Tool& tool, const Filters& filters) {
  StoreView view = look_at_store(tool, read_config(tool.config));
  const RowIds ids = view.look([&](sqlite3* db) {
    return journal_ids(db, filters.category, std::min(filters.limit, max_journal_listing));
  });
  return print_records(
      tool, filters, view, ids, journal_entries, all,
      {"TIME", "AGE", "CATEGORY", "ACTION", "STATUS", "MESSAGE"},
      [](const JournalEntry& e) -> std::vector<std::string> {
        return {e.created_at, age_text(e.created_at), e.category, e.action, e.status, e.message};
      });
}

int list_results(const Tool& tool, const Filters& filters) {
  StoreView view = look_at_store(tool, read_config(tool.config));
  const RowIds ids = view.look(
      [&](sqlite3* db) { return check_result_ids(db, filters.check_type, filters.limit); });
  return print_records(
      tool, filters, view, ids, check_results, all,
      {"TIME", "AGE", "TYPE", "NAME", "TARGET", "STATE", "LEVEL", "VALUE", "MESSAGE"},
      [](const CheckResult& r) -> std::vector<std::string> {
        return {
            r.created_at, age_text(r.created_at),     r.check_type,           r.check_name,
            r.target,     check_status_name(r.state), severity_name(r.level), number_text(r.value),
            r.message};
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
  CLI::App& incidents = add("incidents", "List incidents, those seen last first", list_incidents);
  add_flag(incidents, "--open", filters->open, "Only those that are not resolved");
  add_option(incidents, "--level", filters->level, "Only those of this level",
             {.word = "LEVEL", .allowed = {"info", "warning", "critical"}});
  add_option(
      add("journal", "List what the agent did, newest first; at most 1000 entries", list_journal),
      "--category", filters->category, "Only entries of this category", {.word = "NAME"});
  add_option(add("results", "List results of checks, newest first", list_results), "--type",
             filters->check_type, "Only results of checks of this type", {.word = "TYPE"});
}

}  // namespace zunol_monitoring::ctl
