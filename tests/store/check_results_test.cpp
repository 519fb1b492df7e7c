#include "zunol_monitoring/store/check_results.h"

#include "tests/store/store_scene.h"

using namespace zunol_monitoring;

namespace {

CheckResult result(const std::string& check_type, double value, const std::string& created_at) {
  return {.check_type = check_type,
          .check_name = "name",
          .target = "target",
          .state = CheckStatus::Failed,
          .level = Severity::Warning,
          .message = "message",
          .value = value,
          .labels = {{"b", "2"}, {"a", "\xc3\xa9\"\n"}},
          .created_at = created_at};
}

class CheckResults : public StoreScene {
 protected:
  void insert(const std::string& check_type, double value, const std::string& created_at) {
    store_.insert_check_result(result(check_type, value, created_at));
  }
};

}  // namespace

TEST_F(CheckResults, AWholeRecordComesBack) {
  const CheckResult stored = result("disk", 0.1, "2026-01-01T00:00:00Z");
  store_.insert_check_result(stored);
  CheckResult plain = stored;
  plain.labels.clear();
  plain.state = CheckStatus::Ok;
  plain.level = Severity::Critical;
  plain.target = "/";
  store_.insert_check_result(plain);
  EXPECT_EQ(store_.list_check_results(10, ""), (std::vector{plain, stored}));
  EXPECT_EQ(query("SELECT state, level, labels FROM check_results"),
            "failed|warning|{\"a\":\"\xc3\xa9\\\"\\n\",\"b\":\"2\"}\nok|critical|{}\n");
  EXPECT_STREQ(check_status_name(static_cast<CheckStatus>(5)), "failed");
}

TEST_F(CheckResults, ALabelThatIsNoUtf8IsRefusedWhole) {
  for (const bool in_key : {true, false}) {
    CheckResult bad = result("disk", 1, "2026-01-01T00:00:00Z");
    bad.labels = {{in_key ? "\xff" : "key", in_key ? "value" : "\xff"}};
    EXPECT_NE(error_of([&] { store_.insert_check_result(bad); }), std::nullopt);
  }
  EXPECT_EQ(query("SELECT count(*) FROM check_results"), "0\n");
}

TEST_F(CheckResults, ListsByTimeAndWithinASecondByOrderOfWriting) {
  insert("disk", 1, "2026-01-01T00:00:02Z");
  insert("cpu", 2, "2026-01-01T00:00:03Z");
  insert("disk", 3, "2026-01-01T00:00:02Z");
  insert("disk", 4, "2026-01-01T00:00:01Z");
  const auto values = [&](int limit, const std::string& check_type) {
    std::string listed;
    for (const CheckResult& row : store_.list_check_results(limit, check_type)) {
      listed += std::to_string(static_cast<int>(row.value)) + ' ';
    }
    return listed;
  };
  EXPECT_EQ(values(10, ""), "2 3 1 4 ");
  EXPECT_EQ(values(-1, "disk"), "3 1 4 ");
  EXPECT_EQ(values(2, "disk"), "3 1 ");
  EXPECT_EQ(values(0, ""), "");
}

TEST_F(CheckResults, DamagedColumnsNeverFailAListing) {
  using Labels = std::map<std::string, std::string>;
  const auto nested = [](std::size_t levels) {
    return std::string(levels, '[') + std::string(levels, ']');
  };
  const std::pair<std::string, Labels> rows[] = {
      {R"({"n":5,"ok":true,"none":null,"list":[1, "a"],"o":{"b":1, "a":2.50}})",
       {{"n", "5"},
        {"ok", "true"},
        {"none", "null"},
        {"list", R"([1,"a"])"},
        {"o", R"({"a":2.5,"b":1})"}}},
      {R"({"text":"stays \"as\" it is","":"empty key"})",
       {{"text", "stays \"as\" it is"}, {"", "empty key"}}},
      {R"({"a":"b","c":)" + nested(490) + "}", {{"a", "b"}, {"c", nested(490)}}},
      {R"({"a":"b","c":)" + nested(501) + R"(,"d":"e"})", {{"a", "b"}, {"d", "e"}}}};
  insert("disk", 1, "2026-01-01T00:00:00Z");
  const auto expect_labels = [&](const std::string& stored, const Labels& read) {
    store_.exec("UPDATE check_results SET labels='" + stored + "'");
    CheckResult expected = result("disk", 1, "2026-01-01T00:00:00Z");
    expected.labels = read;
    EXPECT_EQ(store_.list_check_results(1, ""), std::vector{expected}) << stored.substr(0, 80);
  };
  for (const auto& [stored, read] : rows) expect_labels(stored, read);
  for (const std::string& none :
       {std::string("{}"), std::string("{ }"), std::string(), std::string("[\"a\"]"),
        std::string("5"), std::string("null"), std::string("no json"), std::string("{\"a\":\"b\""),
        std::string("{\"a\":1e999}"), std::string("{\"a\":\"\xff\"}"),
        "{\"a\":" + nested(100000) + "}", std::string(100000, '[')}) {
    expect_labels(none, {});
  }
  query(
      "DROP TABLE check_results; CREATE TABLE check_results(id INTEGER PRIMARY KEY, check_type, "
      "check_name, target, state, level, message, value, created_at, labels); "
      "INSERT INTO check_results(id) VALUES(1)");
  EXPECT_EQ(store_.list_check_results(1, ""), std::vector{CheckResult()});
  query("UPDATE check_results SET state='FAILED', level='WARNING', value='no number'");
  EXPECT_EQ(store_.list_check_results(1, ""), std::vector{CheckResult{.level = Severity::Warning}});
}

TEST_F(CheckResults, AggregatesSpanAllTargetsFromTheTimeOn) {
  EXPECT_EQ(store_.average_check_value("disk", "name", ""), std::nullopt);
  EXPECT_EQ(store_.max_check_value("disk", "name", ""), std::nullopt);
  insert("disk", 100, "2026-01-01T00:00:00Z");
  insert("disk", 1, "2026-01-01T00:00:01Z");
  CheckResult elsewhere = result("disk", 3, "2026-01-01T00:00:02Z");
  elsewhere.target = "elsewhere";
  store_.insert_check_result(elsewhere);
  insert("cpu", 50, "2026-01-01T00:00:02Z");
  const auto expect = [&](const char* type, const char* name, const std::string& since,
                          std::optional<double> average, std::optional<double> max) {
    EXPECT_EQ(store_.average_check_value(type, name, since), average) << type << name << since;
    EXPECT_EQ(store_.max_check_value(type, name, since), max) << type << name << since;
  };
  expect("disk", "name", "2026-01-01T00:00:01Z", 2, 3);
  expect("disk", "name", "2026-01-01T00:00:02Z", 3, 3);
  expect("disk", "name", "2026-01-01T00:00:03Z", {}, {});
  expect("cpu", "name", "", 50, 50);
  expect("disk", "other", "", {}, {});
}
