#include "zunol_monitoring/store/journal.h"

#include "tests/store/store_scene.h"
#include "zunol_monitoring/base/clock.h"

using namespace zunol_monitoring;

namespace {

using Journal = StoreScene;
using AgentState = StoreScene;

}  // namespace

TEST_F(Journal, ListsTheNewestFirstByCategory) {
  const std::string before = utc_timestamp_iso();
  store_.append_journal("update", "check", "ok", "message", "details");
  store_.append_journal("command", "restart", "failed", "", "");
  store_.append_journal("update", "apply", "ok", "", "");
  EXPECT_EQ(query("SELECT count(*) FROM agent_journal WHERE created_at<'" + before +
                  "' OR "
                  "created_at>'" +
                  utc_timestamp_iso() + "'"),
            "0\n");
  query("UPDATE agent_journal SET created_at='9' WHERE id=1");  // the order is that of writing
  EXPECT_EQ(each(store_.list_journal(10, ""), &JournalEntry::id), "3 2 1 ");
  EXPECT_EQ(each(store_.list_journal(10, "update"), &JournalEntry::id), "3 1 ");
  EXPECT_EQ(each(store_.list_journal(10, "Update"), &JournalEntry::id), "");
  EXPECT_EQ(store_.list_journal(10, "").back(),
            (JournalEntry{1, "update", "check", "ok", "message", "details", "9"}));
}

TEST_F(Journal, TheLimitIsForcedIntoItsRange) {
  query(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<1001) INSERT INTO "
      "agent_journal(category, action, status, created_at) SELECT 'c', 'a', 'ok', '' FROM n");
  const std::pair<int, std::size_t> rows[] = {{0, 1},       {-5, 1},      {1, 1},      {2, 2},
                                              {1000, 1000}, {1001, 1000}, {5000, 1000}};
  for (const auto& [limit, entries] : rows) {
    EXPECT_EQ(store_.list_journal(limit, "").size(), entries) << limit;
    EXPECT_EQ(store_.list_journal(limit, "c").size(), entries) << limit;
  }
}

TEST_F(AgentState, AKeyHasOneValue) {
  store_.set_state("other", "value");
  EXPECT_EQ(store_.get_state("cursor", "none"), "none");
  store_.set_state("cursor", "1");
  query("UPDATE agent_state SET updated_at='2020-01-01T00:00:00Z'");
  const std::string before = utc_timestamp_iso();
  store_.set_state("cursor", "2");
  EXPECT_EQ(store_.get_state("cursor", "none"), "2");
  EXPECT_EQ(query("SELECT key, value, updated_at >= '" + before + "' AND updated_at <= '" +
                  utc_timestamp_iso() + "' FROM agent_state WHERE key='cursor'"),
            "cursor|2|1\n");
  store_.set_state("cursor", "");
  EXPECT_EQ(store_.get_state("cursor", "none"), "");
}
