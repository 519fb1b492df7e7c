// How the sections beyond the core read: feeds between them, forms of lists, defaults of items, and
// what every key does with a value of the wrong kind.
#include <gtest/gtest.h>

#include <concepts>
#include <functional>
#include <type_traits>

#include "config/render.h"
#include "config/validate.h"
#include "tests/config/load_text.h"

using namespace zunol_monitoring;

TEST(Sections, FeedsListsAndItems) {
  const struct {
    const char* yaml;
    std::function<void(Config&)> expected;
  } rows[] = {
      // remote_actions is read after monitoring_commands, wherever it stands.
      {"remote_actions: {enabled: false, ttl_seconds: 30}\n"
       "monitoring_commands: {allow_actions: true, timeout_sec: 60}",
       [](Config& c) { c.monitoring_commands.timeout_sec = 30; }},
      {"monitoring_commands: {allow_actions: true}",
       [](Config& c) { c.monitoring_commands.allow_actions = true; }},
      {"remote_actions: {allowed_services: [], allowed_containers: [a]}",
       [](Config& c) {
         c.monitoring_commands.allowed_systemd_services = {};
         c.monitoring_commands.allowed_docker_containers = {"a"};
       }},
      {"remote_actions: {require_confirmation: [1]}", [](Config&) {}},
      {"summary: {enabled: false}", [](Config& c) { c.summary.enabled = false; }},
      // The schedule: emptied by its block, filled from maps only.
      {"incidents: {repeat: {enabled: true}}", [](Config& c) { c.incidents.repeat.schedule = {}; }},
      {"incidents: {repeat: }", [](Config& c) { c.incidents.repeat.schedule = {}; }},
      {"incidents: {repeat: {schedule: }}", [](Config& c) { c.incidents.repeat.schedule = {}; }},
      {"incidents: {repeat: {schedule: {after: 1m}}}",
       [](Config& c) { c.incidents.repeat.schedule = {}; }},
      {"incidents: {repeat: {schedule: [{after: 1m}, {other: x}, ~, [x]]}}",
       [](Config& c) {
         c.incidents.repeat.schedule = {"1m", "5m", "5m", "5m"};
       }},
      {"incidents: {auto_resolve_after_success: 90}",
       [](Config& c) { c.incidents.auto_resolve_after_success = "90"; }},
      // load: blocks beat flat keys, per_core beats usage_percent. Only load knows these keys.
      {"checks: {load: {warning_per_core: 1, warning: {per_core: 4, usage_percent: 2}}}",
       [](Config& c) { c.checks.load.warning.usage_percent = 4; }},
      {"checks: {load: {warning_per_core: 1, critical_duration: 9m}}",
       [](Config& c) {
         c.checks.load.warning.usage_percent = 1, c.checks.load.critical.duration = "9m";
       }},
      {"checks: {load: {critical_duration: 1m, critical: {duration: 9m, usage_percent: 7}}}",
       [](Config& c) {
         c.checks.load.critical = {7, "9m"};
       }},
      {"checks: {cpu: {warning: {per_core: 4}, warning_per_core: 5, critical: }}", [](Config&) {}},
      // Paths: those of disk and inodes go with the block, those of disk_health only for a
      // sequence.
      {"checks: {disk: {interval: 9m}, inodes: }",
       [](Config& c) {
         c.checks.disk = {.interval = "9m", .paths = {}}, c.checks.inodes.paths = {};
       }},
      {"checks: {disk: {paths: {path: /x}}}", [](Config& c) { c.checks.disk.paths = {}; }},
      {"checks: {disk: {paths: [{warning_percent: 70}, ~]}}",
       [](Config& c) {
         c.checks.disk.paths = {{"/", 70, 90}, {"/", 80, 90}};
       }},
      {"checks: {disk_health: {enabled: true, paths: , temperature_warning_celsius: 1,\n"
       "  temperature_critical_celsius: 2, io_probe: {max_test_size_mb: 3}}}",
       [](Config& c) {
         auto& health = c.checks.disk_health;
         health.enabled = true;
         health.temperature_warning_celsius = 1;
         health.temperature_critical_celsius = 2;
         health.io_probe.max_test_size_mb = 3;
       }},
      {"checks: {disk_health: {paths: []}}", [](Config& c) { c.checks.disk_health.paths = {}; }},
      {"checks: {disk_health: {paths: text}}", [](Config&) {}},
      // Lists of texts that go with their block, and those that stay.
      {"checks: {systemd: {units: [a]}, disk_trend: {paths: [b]}}",
       [](Config& c) { c.checks.systemd.units = {"a"}, c.checks.disk_trend.paths = {"b"}; }},
      {"checks: {ubuntu_health: {fail2ban: no}}",
       [](Config& c) { c.checks.ubuntu_health.fail2ban = false; }},
      {"checks: {ubuntu_health: {important_services: nginx}}",
       [](Config& c) { c.checks.ubuntu_health.important_services = {}; }},
      {"diagnostics: {disk: {paths: x, max_depth: 3}}",
       [](Config& c) { c.diagnostics.disk.paths = {}, c.diagnostics.disk.max_depth = 3; }},
      {"diagnostics: {disk: {exclude_paths: []}}",
       [](Config& c) { c.diagnostics.disk.exclude_paths = {}; }},
      // Items: what one leaves out, and lists that are no sequence.
      {"checks: {http: {items: [{name: n, url: u, expect_json: {path: a, equals: true}}, "
       "{expect_json: },\n"
       "  {expect_json: [x], reject_text: [r]}]}}",
       [](Config& c) {
         c.checks.http.items.resize(3);
         c.checks.http.items[0].name = "n", c.checks.http.items[0].url = "u";
         c.checks.http.items[0].expect_json = {"a", "true"};
         c.checks.http.items[2].reject_text = {"r"};
       }},
      {"checks: {processes: {items: [{}]}, ssl: {items: [~]}, dns: {items: [{type: MX}]},\n"
       "  domains: {items: [{}]}, docker: {containers: [{}]}, backups: {items: [{}]}}",
       [](Config& c) {
         c.checks.processes.items = {{"", "", 1, -1}};
         c.checks.ssl.items = {{"", 443, 30, 7, true}};
         c.checks.dns.items = {{"", "", "MX", {}, false}};
         c.checks.domains.items = {{"", 30, 7}};
         c.checks.docker.containers = {{"", "running"}};
         c.checks.backups.items = {{"", "file", "", "", "24h", 0}};
       }},
      {"checks: {http: {items: {name: n}}, logs: {files: [{patterns: {}}, {patterns: [{}]}]}}",
       [](Config& c) {
         c.checks.logs.files = {{"", {}}, {"", {{"warning", "", 1, "5m"}}}};
       }},
      {"checks: {os_updates: {security_updates_warning_count: 1}}", [](Config&) {}},
      // Diagnostics: one profile's key, and the redaction that sets both fields.
      {"diagnostics: {profiles: {quick: {enabled: no}, hardware: {max_runtime_sec: 1}, ninth: 1}}",
       [](Config& c) {
         c.diagnostics.profiles.quick.enabled = false;
         c.diagnostics.profiles.hardware.max_runtime_sec = 1;
       }},
      {"diagnostics: {profiles: }", [](Config&) {}},
      {"diagnostics: {redaction: {mode: normal}}",
       [](Config& c) {
         c.diagnostics.default_redaction = c.diagnostics.redaction.mode = "normal";
       }},
      {"diagnostics: {redaction: {mode: normal}, default_redaction: off}",
       [](Config& c) {
         c.diagnostics.default_redaction = "off", c.diagnostics.redaction.mode = "normal";
       }},
      {"diagnostics: {default_redaction: , redaction: {fail_on_possible_secret: no}}",
       [](Config& c) {
         c.diagnostics.default_redaction = "null";
         c.diagnostics.redaction.fail_on_possible_secret = false;
       }},
      {"security: {fail_on_loose_secrets: yes}",
       [](Config& c) { c.security.fail_on_loose_secrets = true; }},
  };
  for (const auto& row : rows) {
    Config expected = default_config();
    row.expected(expected);
    const Config config = load_text(row.yaml);
    EXPECT_TRUE(config == expected) << row.yaml << "\n" << render_text(config);
  }
}

TEST(Sections, AnEmptyPathListIsLeftToTheRules) {
  EXPECT_EQ(
      validate_config(load_text("checks: {disk: {interval: 1m}}")),
      std::vector<std::string>{"checks.disk.paths must not be empty when disk check is enabled"});
}

TEST(Sections, TheFirstFaultInTheOrderOfReadingIsReported) {
  const struct {
    const char* yaml;
    const char* error;  ///< its end
  } rows[] = {
      {"incidents: {repeat: {schedule: [5m, 15m]}}", "(key: \"after\")"},
      {"checks: {disk: {paths: [/]}}", "(key: \"path\")"},
      {"checks: {http: {items: [x]}}", "(key: \"name\")"},
      {"checks: {ssl: {items: [x]}}", "(key: \"host\")"},
      {"checks: {cpu: {warning: 80}}", "(key: \"usage_percent\")"},
      {"checks: {http: {items: [{expect_json: x}]}}", "(key: \"path\")"},
      {"diagnostics: x", "(key: \"enabled\")"},
      {"diagnostics: {profiles: {quick: on}}", "(key: \"enabled\")"},
      {"checks: {disk_health: {io_probe: x, paths: [y]}}", "(key: \"path\")"},
      {"checks: {http: x, disk_health: x, network: {interval: []}}", "column 55: bad conversion"},
      {"security: x\nreports: x\nincidents: x",
       "line 2, column 10: operator[] call on a scalar (key: \"daily\")"},
  };
  for (const auto& row : rows) {
    const auto error = error_of([&] { load_text(row.yaml); });
    ASSERT_TRUE(error.has_value()) << row.yaml;
    EXPECT_TRUE(error->ends_with(row.error)) << row.yaml << ": " << *error;
  }
}

namespace {

/// Loads, for each key of the configuration, documents that hold nothing else but a value of each
/// kind.
class KindTester {
 public:
  static constexpr bool reading = true;
  static constexpr bool rendering = false;

  /// `head` and `tail` stand before and behind the key in a document.
  KindTester(std::string head, std::string tail, int& tested)
      : head_(std::move(head)), tail_(std::move(tail)), tested_(tested) {}

  const std::string& first_key() const { return first_key_; }
  bool has(const char* /*key*/) const { return true; }

  template <class Value>
  void field(const char* key, Value& /*value*/) {
    constexpr bool text =
        std::same_as<Value, std::string> || std::same_as<Value, std::filesystem::path>;
    expect(key, "", text ? "" : "bad conversion");
    expect(key, "word", text ? "" : "bad conversion");
    expect(key, "[x]", "bad conversion");
    expect(key, "{a: b}", "bad conversion");
  }
  void duration(const char* key, std::string& value) { field(key, value); }
  void credential(const char* key, std::string& value) { field(key, value); }
  template <class Value>
  void alias(const char* key, Value&& value) {
    if constexpr (std::is_arithmetic_v<std::remove_cvref_t<Value>> ||
                  std::same_as<Value, std::string&>) {
      field(key, value);
    } else {
      block(key, value);
    }
  }
  template <class Read, class Value>
  void alias(const char* key, Value& /*value*/, void (* /*feed*/)(Read, Value&)) {
    std::remove_cvref_t<Read> read{};
    field(key, read);
  }
  void literal(const char* key, const char* /*text*/) { expect(key, "{a: b}", ""); }
  void list(const char* key, std::vector<std::string>& /*texts*/) {
    for (const char* value : {"", "word", "{a: b}", "[]", "[a, ~, 1]"}) expect(key, value, "");
    expect(key, "[[a]]", "bad conversion");
  }
  void list_always(const char* key, std::vector<std::string>& texts) { list(key, texts); }
  template <class Record>
  void records(const char* key, std::vector<Record>& /*list*/) {
    Record record;
    KindTester item(head_ + key + ": [{", "}]" + tail_, tested_);
    visit_keys(item, record);
    for (const char* value : {"", "word", "{a: b}", "[]", "[~, [], {}]"}) expect(key, value, "");
    expect(key, "[word]", "operator[] call on a scalar (key: \"" + item.first_key() + "\")");
  }
  void bare_records(const char* key, auto& list) { records(key, list); }
  void kept_records(const char* key, auto& list) { records(key, list); }
  template <class Keys>
  void block(const char* key, Keys&& keys) {
    KindTester inner(head_ + key + ": {", "}" + tail_, tested_);
    if constexpr (std::invocable<Keys&, KindTester&>) {
      keys(inner);
    } else {
      visit_keys(inner, keys);
    }
    for (const char* value : {"", "[x]", "{}"}) expect(key, value, "");
    expect(key, "word", "operator[] call on a scalar (key: \"" + inner.first_key() + "\")");
  }
  void flow_block(const char* key, auto& record) { block(key, record); }

 private:
  void expect(const char* key, const std::string& value, const std::string& error) {
    if (first_key_.empty()) first_key_ = key;
    ++tested_;
    const std::string yaml = "{" + head_ + key + ": " + value + tail_ + "}";
    const auto raised = error_of([&] { load_text(yaml); });
    if (error.empty()) {
      EXPECT_EQ(raised, std::nullopt) << yaml;
    } else {
      EXPECT_TRUE(raised.has_value() && raised->ends_with(": " + error))
          << yaml << " raised " << raised.value_or("nothing");
    }
  }

  std::string head_;
  std::string tail_;
  std::string first_key_;
  int& tested_;
};

}  // namespace

TEST(Sections, EveryKeyRefusesWhatIsNotOfItsKind) {
  int tested = 0;
  KindTester tester("", "", tested);
  Config config;
  visit_keys(tester, config);
  EXPECT_GT(tested, 1600);
}
