#include "zunol_monitoring/store/incidents.h"

#include <array>
#include <cstddef>
#include <string>

#include "store/cut_columns.h"
#include "store/inspection.h"
#include "store/statement.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {
namespace {

constexpr std::array status_names = {"new",     "acknowledged", "investigating", "muted",
                                     "snoozed", "resolved",     "auto_resolved"};

const std::string incident_columns =
    "id, fingerprint, check_type, check_name, target, level, status, title, message, "
    "current_value, first_seen_at, last_seen_at, resolved_at, repeat_count";
const std::string select_incident = "SELECT " + incident_columns + " FROM incidents ";

const std::string event_columns = "event_id, incident_id, type, created_at, payload";

Incident read_incident(const Statement& row) {
  return {.id = row.text(0),
          .fingerprint = row.text(1),
          .check_type = row.text(2),
          .check_name = row.text(3),
          .target = row.text(4),
          .level = severity_from_name(row.text(5)),
          .status = incident_status_from_name(row.text(6)),
          .title = row.text(7),
          .message = row.text(8),
          .current_value = row.text(9),
          .first_seen_at = row.text(10),
          .last_seen_at = row.text(11),
          .resolved_at = row.text(12),
          .repeat_count = row.integer(13)};
}

IncidentEvent read_event(const Statement& row) {
  return {.event_id = row.text(0),
          .incident_id = row.text(1),
          .type = row.text(2),
          .created_at = row.text(3),
          .payload = row.text(4)};
}

}  // namespace

const char* incident_status_name(IncidentStatus status) {
  const auto index = static_cast<std::size_t>(status);
  return index < status_names.size() ? status_names[index] : status_names[0];
}

IncidentStatus incident_status_from_name(const std::string& name) {
  for (std::size_t index = 0; index < status_names.size(); ++index) {
    if (name == status_names[index]) return static_cast<IncidentStatus>(index);
  }
  return IncidentStatus::New;
}

bool is_open(IncidentStatus status) {
  return status != IncidentStatus::Resolved && status != IncidentStatus::AutoResolved;
}

void SqliteStore::insert_incident(const Incident& incident) {
  Statement(db,
            "INSERT INTO incidents(id, fingerprint, check_type, check_name, target, level, status, "
            "title, message, current_value, first_seen_at, last_seen_at, resolved_at, "
            "repeat_count) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")
      .bind(incident.id, incident.fingerprint, incident.check_type, incident.check_name,
            incident.target, severity_name(incident.level), incident_status_name(incident.status),
            incident.title, incident.message, incident.current_value, incident.first_seen_at,
            incident.last_seen_at, incident.resolved_at, incident.repeat_count)
      .run();
}

void SqliteStore::update_incident_occurrence(const Incident& incident) {
  Statement(db,
            "UPDATE incidents SET level=?, title=?, message=?, current_value=?, last_seen_at=?, "
            "repeat_count=repeat_count+1 WHERE id=?")
      .bind(severity_name(incident.level), incident.title, incident.message, incident.current_value,
            incident.last_seen_at, incident.id)
      .run();
}

void SqliteStore::set_incident_status(const std::string& id, IncidentStatus status,
                                      const std::string& resolved_at) {
  Statement(db, "UPDATE incidents SET status=?, resolved_at=?, last_seen_at=? WHERE id=?")
      .bind(incident_status_name(status), resolved_at, utc_timestamp_iso(), id)
      .run();
}

int SqliteStore::count_open_incidents() {
  Statement count(db,
                  "SELECT count(*) FROM incidents WHERE status NOT IN "
                  "('resolved','auto_resolved')");
  return count.next() ? count.integer(0) : 0;
}

std::optional<Incident> SqliteStore::find_incident(const std::string& id) {
  return Statement(db, select_incident + "WHERE id=?").bind(id).first(read_incident);
}

std::optional<Incident> SqliteStore::find_open_incident(const std::string& fingerprint) {
  return Statement(db, select_incident +
                           "WHERE fingerprint=? AND status NOT IN ('resolved','auto_resolved') "
                           "ORDER BY last_seen_at DESC LIMIT 1")
      .bind(fingerprint)
      .first(read_incident);
}

std::vector<Incident> SqliteStore::list_incidents(int limit) {
  return Statement(db, select_incident + "ORDER BY last_seen_at DESC LIMIT ?")
      .bind(limit)
      .all(read_incident);
}

void SqliteStore::insert_incident_event(const IncidentEvent& event) {
  Statement(db,
            "INSERT OR IGNORE INTO incident_events(event_id, incident_id, type, created_at, "
            "payload) VALUES(?, ?, ?, ?, ?)")
      .bind(event.event_id, event.incident_id, event.type, event.created_at, event.payload)
      .run();
}

std::vector<IncidentEvent> SqliteStore::list_incident_events(const std::string& incident_id,
                                                             int limit) {
  return Statement(db,
                   "SELECT " + event_columns +
                       " FROM incident_events WHERE incident_id=? ORDER BY created_at DESC LIMIT ?")
      .bind(incident_id, limit)
      .all(read_event);
}

RowIds incident_ids(sqlite3* db) {
  return Statement(db, "SELECT rowid FROM incidents ORDER BY last_seen_at DESC, rowid").row_ids();
}

std::vector<Incident> incidents(sqlite3* db, std::span<const std::int64_t> ids, int longest_text) {
  return Statement(db, "SELECT " + cut_columns(incident_columns, longest_text) +
                           " FROM incidents WHERE rowid=?")
      .each(ids, read_incident);
}

std::optional<Incident> find_incident(sqlite3* db, const std::string& id) {
  Statement row(db, select_incident + "WHERE id=?");
  if (!row.bind(id).next_or_raise()) return std::nullopt;
  return read_incident(row);
}

RowIds incident_event_ids(sqlite3* db, const std::string& incident_id) {
  return Statement(
             db,
             "SELECT rowid FROM incident_events WHERE incident_id=? ORDER BY created_at DESC, "
             "rowid DESC")
      .bind(incident_id)
      .row_ids();
}

std::vector<TrailEvent> incident_events(sqlite3* db, std::span<const std::int64_t> ids,
                                        int longest_text) {
  Statement row(db, "SELECT " + cut_columns(event_columns, longest_text) +
                        ", (SELECT status FROM vorn_sync_queue AS queue WHERE queue.event_id="
                        "incident_events.event_id) FROM incident_events WHERE rowid=?");
  return row.each(ids, [](const Statement& found) {
    return TrailEvent{.event = read_event(found), .queue_status = found.text(5)};
  });
}

}  // namespace zunol_monitoring
