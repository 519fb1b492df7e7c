// The items of lists, and the keys that are only read: the file of the defaults shows none of them.
#include "config/yaml_block.h"
#include "tests/config/load_text.h"
#include "zunol_monitoring/config/render.h"

using namespace zunol_monitoring;

TEST(Sections, ItemsHaveEachKeyInItsFieldAndTheirDefaults) {
  const Config config = load_text(R"(
checks:
  disk: {paths: [{path: p, warning_percent: 1, critical_percent: 2}]}
  disk_health: {temperature_warning_celsius: 1, temperature_critical_celsius: 2}
  docker: {containers: [{name: n, required_status: s}, {}]}
  processes: {items: [{name: n, match: m, min_count: 2, max_count: 3}, {}]}
  ssl: {items: [{host: h, port: 1, warning_days: 2, critical_days: 3, track_fingerprint: no}, ~]}
  dns: {items: [{name: n, domain: d, type: MX, expected: [e], alert_on_change: yes}, {}]}
  domains: {items: [{domain: d, warning_days: 1, critical_days: 2}, {}]}
  logs: {files: [{path: p, patterns: [{level: l, regex: r, threshold: 2, window: w}, {}]}, {}]}
  http: {items: [{name: n, url: u, method: m, timeout: t, expect_status: 1, max_response_ms: 2,
    expect_text: x, reject_text: [r], expect_json: {path: p, equals: true}}, {expect_json: [x]}]}
  content_change: {items: [{name: n, url: u, timeout: t, track_hash: no, alert_on_hash_change: no,
    baseline_auto_accept: yes, expect_text: x, reject_text: [r]}, {}]}
  backups: {items: [{name: n, type: t, path: p, command: c, max_age: a, min_size_mb: 1.5}, {}]}
)");
  Config expected = default_config();
  ChecksConfig& checks = expected.checks;
  checks.disk.paths = {{"p", 1, 2}};
  checks.disk_health.temperature_warning_celsius = 1;
  checks.disk_health.temperature_critical_celsius = 2;
  checks.docker.containers = {{"n", "s"}, {"", "running"}};
  checks.processes.items = {{"n", "m", 2, 3}, {"", "", 1, -1}};
  checks.ssl.items = {{"h", 1, 2, 3, false}, {"", 443, 30, 7, true}};
  checks.dns.items = {{"n", "d", "MX", {"e"}, true}, {"", "", "A", {}, false}};
  checks.domains.items = {{"d", 1, 2}, {"", 30, 7}};
  checks.logs.files = {{"p", {{"l", "r", 2, "w"}, {"warning", "", 1, "5m"}}}, {"", {}}};
  checks.http.items = {{"n", "u", "m", "t", 1, 2, "x", {"r"}, {"p", "true"}},
                       {"", "", "GET", "5s", 200, 0, "", {}, {"", ""}}};
  checks.content_change.items = {{"n", "u", "t", false, false, true, "x", {"r"}},
                                 {"", "", "5s", true, true, false, "", {}}};
  checks.backups.items = {{"n", "t", "p", "c", "a", 1.5}, {"", "file", "", "", "24h", 0}};
  EXPECT_TRUE(config == expected) << render_text(config);
}

TEST(YamlBlock, GivesEachValueInWhateverOrderAndAgain) {
  const YAML::Node node = YAML::Load("{a: 1, b: 2, c: 3}");
  YamlBlock block(node);
  std::string given;
  for (const char* key : {"a", "c", "b", "c", "b", "d", "a"}) {
    const YAML::Node value = block.take(key);
    given += value.IsDefined() ? value.Scalar() : "-";
  }
  EXPECT_EQ(given, "13232-1");
}
