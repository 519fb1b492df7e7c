#include "zunol_monitoring/store/incidents.h"

#include "tests/store/store_scene.h"
#include "zunol_monitoring/base/clock.h"

using namespace zunol_monitoring;

namespace {

Incident incident(const std::string& id, IncidentStatus status, const std::string& last_seen_at) {
  return {.id = id,
          .fingerprint = "disk:/",
          .check_type = "disk",
          .check_name = "disk usage",
          .target = "/",
          .level = Severity::Critical,
          .status = status,
          .title = "Disk \xc3\xa9 full",
          .message = "'; DROP TABLE incidents; --",
          .current_value = "97 %",
          .first_seen_at = "2026-01-01T00:00:00Z",
          .last_seen_at = last_seen_at,
          .resolved_at = "",
          .repeat_count = 7};
}

class Incidents : public StoreScene {
 protected:
  void insert(const std::string& id, IncidentStatus status, const std::string& last_seen_at) {
    store_.insert_incident(incident(id, status, last_seen_at));
  }
};

}  // namespace

TEST(IncidentTexts, GoBothWays) {
  const Texts statuses = {"new",     "acknowledged", "investigating", "muted",
                          "snoozed", "resolved",     "auto_resolved"};
  for (std::size_t i = 0; i < statuses.size(); ++i) {
    EXPECT_EQ(incident_status_name(static_cast<IncidentStatus>(i)), statuses[i]);
    EXPECT_EQ(incident_status_from_name(statuses[i]), static_cast<IncidentStatus>(i));
  }
  for (const int number : {-1, 7}) {
    EXPECT_STREQ(incident_status_name(static_cast<IncidentStatus>(number)), "new");
    EXPECT_STREQ(severity_name(static_cast<Severity>(number)), "info");
  }
  EXPECT_EQ(incident_status_from_name("resolved"), IncidentStatus::Resolved);
  for (const char* name : {"Resolved", "auto-resolved", "resolved ", ""}) {
    EXPECT_EQ(incident_status_from_name(name), IncidentStatus::New) << name;
  }
  for (const char* name : {"info", "crit", ""}) EXPECT_EQ(severity_from_name(name), Severity::Info);
  for (const char* name : {"warning", "WARNING"}) {
    EXPECT_EQ(severity_from_name(name), Severity::Warning);
  }
  for (const char* name : {"critical", "CritIcal"}) {
    EXPECT_EQ(severity_from_name(name), Severity::Critical);
  }
  EXPECT_STREQ(severity_name(Severity::Warning), "warning");
}

TEST_F(Incidents, AWholeRecordComesBack) {
  Incident stored = incident("i1", IncidentStatus::AutoResolved, "2026-01-02T00:00:00Z");
  stored.resolved_at = "2026-01-03T00:00:00Z";
  store_.insert_incident(stored);
  EXPECT_EQ(store_.find_incident("i1"), stored);
  EXPECT_EQ(query("SELECT level, status FROM incidents"), "critical|auto_resolved\n");
  EXPECT_EQ(store_.find_incident("i2"), std::nullopt);
  EXPECT_EQ(error_of([&] { store_.insert_incident(stored); }),
            "UNIQUE constraint failed: incidents.id");
}

TEST_F(Incidents, AnOccurrenceCountsOnTheStoredValue) {
  insert("i1", IncidentStatus::Muted, "2026-01-02T00:00:00Z");
  insert("i2", IncidentStatus::New, "2026-01-02T00:00:00Z");
  Incident seen = incident("i1", IncidentStatus::Resolved, "2026-01-05T00:00:00Z");
  seen.fingerprint = seen.first_seen_at = seen.resolved_at = "not taken";
  seen.level = Severity::Warning;
  seen.title = "t", seen.message = "m", seen.current_value = "v";
  seen.repeat_count = 100;
  store_.update_incident_occurrence(seen);
  Incident expected = incident("i1", IncidentStatus::Muted, "2026-01-05T00:00:00Z");
  expected.level = Severity::Warning;
  expected.title = "t", expected.message = "m", expected.current_value = "v";
  expected.repeat_count = 8;
  EXPECT_EQ(store_.find_incident("i1"), expected);
  EXPECT_EQ(store_.find_incident("i2"),
            incident("i2", IncidentStatus::New, "2026-01-02T00:00:00Z"));
}

TEST_F(Incidents, AStatusMovesLastSeenToThePresent) {
  insert("i1", IncidentStatus::New, "2026-01-02T00:00:00Z");
  insert("i2", IncidentStatus::New, "2026-01-02T00:00:00Z");
  const std::string before = utc_timestamp_iso();
  store_.set_incident_status("i1", IncidentStatus::Resolved, "2026-01-03T00:00:00Z");
  const Incident found = store_.find_incident("i1").value();
  EXPECT_EQ(found.status, IncidentStatus::Resolved);
  EXPECT_EQ(found.resolved_at, "2026-01-03T00:00:00Z");
  EXPECT_GE(found.last_seen_at, before);
  EXPECT_LE(found.last_seen_at, utc_timestamp_iso());
  EXPECT_EQ(store_.find_incident("i2"),
            incident("i2", IncidentStatus::New, "2026-01-02T00:00:00Z"));
  store_.set_incident_status("i1", IncidentStatus::New, "");
  EXPECT_EQ(store_.find_incident("i1")->resolved_at, "");
  store_.set_incident_status("nobody", IncidentStatus::New, "");
  store_.update_incident_occurrence(incident("nobody", IncidentStatus::New, ""));
  EXPECT_EQ(query("SELECT count(*) FROM incidents"), "2\n");
}

TEST_F(Incidents, OnlyOpenOnesAreFoundByFingerprint) {
  EXPECT_EQ(store_.count_open_incidents(), 0);
  insert("resolved", IncidentStatus::Resolved, "2026-01-09T00:00:00Z");
  insert("auto", IncidentStatus::AutoResolved, "2026-01-08T00:00:00Z");
  EXPECT_EQ(store_.find_open_incident("disk:/"), std::nullopt);
  insert("older", IncidentStatus::New, "2026-01-02T00:00:00Z");
  insert("snoozed", IncidentStatus::Snoozed, "2026-01-03T00:00:00Z");
  EXPECT_EQ(store_.find_open_incident("disk:/")->id, "snoozed");
  EXPECT_EQ(store_.find_open_incident("disk"), std::nullopt);
  EXPECT_EQ(store_.count_open_incidents(), 2);
  EXPECT_EQ(each(store_.list_incidents(-1), &Incident::id), "resolved auto snoozed older ");
  EXPECT_EQ(each(store_.list_incidents(2), &Incident::id), "resolved auto ");
  EXPECT_EQ(each(store_.list_incidents(0), &Incident::id), "");
}

TEST_F(Incidents, TheTrailKeepsTheFirstEventOfAnId) {
  const auto event = [](const std::string& id, const std::string& second) {
    return IncidentEvent{id, "i1", "opened", "2026-01-01T00:00:0" + second + 'Z', "{}"};
  };
  for (const char* second : {"1", "3", "2"}) store_.insert_incident_event(event(second, second));
  store_.insert_incident_event({"4", "other", "opened", "2026-01-01T00:00:09Z", "{}"});
  IncidentEvent replayed = event("3", "5");
  replayed.payload = "changed";
  store_.insert_incident_event(replayed);
  const auto events = store_.list_incident_events("i1", 2);
  EXPECT_EQ(each(events, &IncidentEvent::event_id), "3 2 ");
  EXPECT_EQ(events.at(0), event("3", "3"));
}

TEST_F(Incidents, ForeignTextsAndNullsOfAnOlderTableAreRead) {
  query(R"(
CREATE TABLE older AS SELECT * FROM incidents;
DROP TABLE incidents;
ALTER TABLE older RENAME TO incidents;
INSERT INTO incidents(id) VALUES('null');
INSERT INTO incidents(id, level, status, title) VALUES('odd', 'WARNING', 'MUTED', 'a' || char(0) || 'b'))");
  store_.apply_schema();
  EXPECT_EQ(store_.find_incident("null"), Incident{.id = "null"});
  EXPECT_EQ(store_.find_incident("odd"),
            (Incident{.id = "odd", .level = Severity::Warning, .title = "a"}));
  EXPECT_EQ(store_.list_incidents(-1).size(), 2U);
}
