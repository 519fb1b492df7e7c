#include "ctl/record_json.h"

#include <nlohmann/json.hpp>

namespace zunol_monitoring::ctl {

using nlohmann::json;

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

}  // namespace zunol_monitoring::ctl
