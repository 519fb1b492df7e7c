#include "ctl/incident_trail.h"

#include <stdexcept>

#include "ctl/age.h"
#include "ctl/open_store.h"
#include "ctl/read_config.h"
#include "ctl/record_json.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

json to_json(const TrailEvent& trail) {
  const IncidentEvent& event = trail.event;
  return {{"event_id", event.event_id},
          {"type", event.type},
          {"created_at", event.created_at},
          {"payload", event.payload},
          {"queue_status", trail.queue_status}};
}

json marked(json record, const char* name) {
  record["record"] = name;
  return record;
}

std::string moment_text(const std::string& at) { return at + " (" + age_text(at) + " ago)"; }

void print_incident(const Incident& i) {
  Table table({"INCIDENT", i.id});
  table.add({"level", severity_name(i.level)});
  table.add({"status", incident_status_name(i.status)});
  table.add({"title", i.title});
  table.add({"message", i.message});
  table.add({"value", i.current_value});
  table.add({"check", i.check_type + ' ' + i.check_name});
  table.add({"target", i.target});
  table.add({"first seen", moment_text(i.first_seen_at)});
  table.add({"last seen", moment_text(i.last_seen_at)});
  if (!i.resolved_at.empty()) table.add({"resolved", moment_text(i.resolved_at)});
  table.add({"times", std::to_string(i.repeat_count)});
  print(table.text(0) + '\n');
}

}  // namespace

Listing journal_listing(const Tool& tool) {
  return {tool.json, {"STATUS", "AGE", "CATEGORY", "ACTION", "MESSAGE", "TIME"}, 4};
}

std::vector<std::string> journal_cells(const JournalEntry& e) {
  return {e.status, age_text(e.created_at), e.category, e.action, e.message, e.created_at};
}

int show_incident(const Tool& tool, const std::string& id, int limit) {
  StoreView view = look_at_store(tool, read_config(tool.config));
  const auto incident = view.look([&](sqlite3* db) { return find_incident(db, id); });
  if (!incident) throw std::runtime_error("no incident " + id);
  if (tool.json) {
    print_json(marked(to_json(*incident), "incident"));
  } else {
    print_incident(*incident);
  }
  const auto list = [&](auto find_ids, auto read, const char* name, Listing listing,
                        auto cells_of) {
    const RowIds ids = view.look([&](sqlite3* db) { return find_ids(db, id); });
    const auto shown = std::min(ids.size(), static_cast<std::size_t>(limit));
    visit_rows(view, std::span(ids).first(shown), tool.json, read, [&](const auto& row) {
      listing.add(
          row, [&](const auto& r) { return marked(to_json(r), name); }, cells_of);
      return true;
    });
    listing.finish(static_cast<std::int64_t>(ids.size()), more_by_limit(listing.rows(), limit));
  };
  list(incident_event_ids, incident_events, "event",
       Listing(tool.json, {"TYPE", "AGE", "QUEUE", "EVENT", "TIME"}, no_column),
       [](const TrailEvent& t) -> std::vector<std::string> {
         return {t.event.type, age_text(t.event.created_at),
                 t.queue_status.empty() ? "gone" : t.queue_status, t.event.event_id,
                 t.event.created_at};
       });
  if (!tool.json) print("\n");
  list(journal_ids_about, journal_entries, "journal", journal_listing(tool), journal_cells);
  return done;
}

}  // namespace zunol_monitoring::ctl
