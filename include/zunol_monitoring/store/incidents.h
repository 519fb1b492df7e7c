// Incidents, one row each, and the append-only trail of what happened to them: the tables incidents
// and incident_events.
//
// The store enforces no order of states: any status can be set on any incident. An incident is open
// unless it is resolved or auto-resolved. Its row stays until retention takes it, which it does for
// resolved ones only; its events follow when the store is compacted after that.
#pragma once

#include <string>

#include "zunol_monitoring/store/severity.h"

namespace zunol_monitoring {

enum class IncidentStatus {
  New = 0,
  Acknowledged = 1,
  Investigating = 2,
  Muted = 3,
  Snoozed = 4,
  Resolved = 5,
  AutoResolved = 6,
};

/// The text in the database: "new", "acknowledged", "investigating", "muted", "snoozed", "resolved"
/// or "auto_resolved"; "new" for any other value.
const char* incident_status_name(IncidentStatus status);

/// The status of exactly this text; New for any other.
IncidentStatus incident_status_from_name(const std::string& name);

/// Whether it is neither resolved nor auto-resolved.
bool is_open(IncidentStatus status);

/// All times are the caller's, as text.
struct Incident {
  std::string id;
  std::string fingerprint;  ///< what tells that two results are of the same incident
  std::string check_type;
  std::string check_name;
  std::string target;
  Severity level = Severity::Info;
  IncidentStatus status = IncidentStatus::New;
  std::string title;
  std::string message;
  std::string current_value;
  std::string first_seen_at;
  std::string last_seen_at;
  std::string resolved_at;  ///< empty while it is open
  int repeat_count = 0;
  friend bool operator==(const Incident&, const Incident&) = default;
};

struct IncidentEvent {
  std::string event_id;
  std::string incident_id;
  std::string type;
  std::string created_at;
  std::string payload;
  friend bool operator==(const IncidentEvent&, const IncidentEvent&) = default;
};

}  // namespace zunol_monitoring
