#include "zunol_monitoring/config/render.h"

#include <set>

#include "config/key_reader.h"
#include "config/keys/config_keys.h"
#include "tests/config/load_text.h"

using namespace zunol_monitoring;

namespace {

/// Gives every field that is rendered a value that is not its default, and every list a further
/// item. Notes the keys whose fields stand in front of those of the keys before them.
class Scrambler {
 public:
  static constexpr bool reading = true;
  static constexpr bool rendering = true;

  bool has(const char* /*key*/) const { return true; }
  void field(const char* key, auto& value, Untold = {}) {
    note(key, value);
    // A field that two keys feed is changed once.
    if (seen_.insert(&value).second) change(value);
  }
  void duration(const char* key, std::string& value, Untold = {}) { field(key, value); }
  void credential(const char* key, std::string& value, Untold = {}) { field(key, value); }
  void alias(const char* /*key*/, auto&&... /*value*/) {}
  void literal(const char* /*key*/, const char* /*text*/, Untold = {}) {}
  void list(const char* key, std::vector<std::string>& list, Untold = {}) { field(key, list); }
  void list_always(const char* key, std::vector<std::string>& list, Untold = {}) {
    field(key, list);
  }
  template <class Record>
  void records(const char* /*key*/, std::vector<Record>& list, Untold = {}) {
    Scrambler item;
    visit_keys(item, list.emplace_back());
    EXPECT_EQ(item.out_of_order(), Texts{});
  }
  void bare_records(const char* key, auto& list, Untold = {}) { records(key, list); }
  void kept_records(const char* key, auto& list, Untold = {}) { records(key, list); }
  void block(const char* key, auto&& keys, Untold = {}) {
    const void* outer = nullptr;
    if constexpr (std::invocable<decltype(keys)&, Scrambler&>) {
      outer = std::exchange(before_, nullptr);
      keys(*this);
    } else {
      note(key, keys);
      outer = std::exchange(before_, nullptr);
      visit_keys(*this, keys);
    }
    before_ = outer;
  }
  void flow_block(const char* key, auto& record, Untold = {}) { block(key, record); }

  const Texts& out_of_order() const { return out_of_order_; }

 private:
  void change(bool& value) { value = !value; }
  void change(int& value) { value += 1 + next_++; }
  void change(std::uint64_t& value) { value += 1 + static_cast<std::uint64_t>(next_++); }
  void change(double& value) { value += 0.5 + next_++; }
  void change(std::string& value) { value += "'\"\\\n\xc3\xa9: #" + std::to_string(next_++); }
  void change(std::filesystem::path& value) { value += " " + std::to_string(next_++); }
  void change(std::vector<std::string>& list) { list.push_back("- " + std::to_string(next_++)); }

  void note(const char* key, const auto& value) {
    if (std::less<>()(&value, before_)) out_of_order_.emplace_back(key);
    before_ = &value;
  }

  std::set<const void*> seen_;
  const void* before_ = nullptr;
  Texts out_of_order_;
  inline static int next_ = 0;
};

Config scrambled() {
  Scrambler scrambler;
  Config config = default_config();
  visit_keys(scrambler, config);
  // Keys stand in the order of their fields, so that none can have the field of another. Those that
  // follow a field of another section, and three blocks, are the exceptions.
  EXPECT_EQ(scrambler.out_of_order(),
            (Texts{"mode", "alert_mode", "incidents", "network", "security"}));
  config.checks.http.items[0].expect_json = {"a.b", "5"};
  return config;
}

const std::string golden_file = ZUNOL_SOURCE_DIR "/tests/config/default.yaml";

}  // namespace

TEST(Render, TheDefaultsAreTheFileWrittenByHand) {
  EXPECT_EQ(render_text(default_config()), read_text_file(golden_file));
  const TempDir dir;
  write_default_config(dir / "a/config.yaml");
  EXPECT_EQ(read_text_file(dir / "a/config.yaml"), read_text_file(golden_file));
  EXPECT_EQ(mode_of(dir / "a/config.yaml"), 0640U);
}

// Reading the file written by hand over other values shows that each key has its own field: a
// misspelt key would leave the other value, or a default where its block is emptied.
TEST(Render, EachKeyOfTheDefaultsHasItsField) {
  Config config = scrambled();
  const Config changed = config;
  const YAML::Node root = YAML::LoadFile(golden_file);
  KeyReader reader(root);
  visit_keys(reader, config);
  EXPECT_EQ(config, default_config());
  EXPECT_TRUE(changed != default_config());
}

TEST(Render, EveryRenderedFieldComesBack) {
  const Config config = scrambled();
  const std::string text = render_text(config);
  const Config loaded = load_text(text);
  EXPECT_EQ(loaded, config);
  EXPECT_EQ(render_text(loaded), text);
  EXPECT_EQ(render_text(load_text(render_text(default_config()))), render_text(default_config()));
}

TEST(Render, ItemsOfListsLineUp) {
  expect_parts(render_text(load_text(R"(
checks:
  logs: {files: [{path: /a, patterns: [{regex: x}]}, {path: /b}]}
  http: {items: [{reject_text: [r]}, {name: m, url: v, expect_json: {path: p, equals: true}}]}
)")),
               {R"(
    files:
      - path: "/a"
        patterns:
          - level: "warning"
            regex: "x"
            threshold: 1
            window: "5m"
      - path: "/b"
        patterns: []
)",
                R"(
        reject_text:
          - "r"
      - name: "m"
)",
                R"(
        reject_text: []
        expect_json:
          path: "p"
          equals: "true"
  content_change:
)"});
}

TEST(Render, WhatIsRenderedInItsOwnWay) {
  // A file, and what is rendered of it: "/" ends a line.
  for (const Texts& row : rows_of(R"-(
version: 7 => version: 1//agent:
incidents: {repeat: } => schedule:/    critical_repeat_until_ack
checks: {disk: } => paths:/  inodes:
checks: {disk_health: {paths: []}} => paths:/    emergency_percent
monitoring_commands: {max_output_chars: 1234} => max_message_chars: 1234/
checks: {cpu: {warning: {usage_percent: 1234567}}} => warning: {usage_percent: 1.23457e+06, duration: "5m"}/
checks: {load: {warning_per_core: .inf}} => warning_per_core: inf/    warning_dur
agent: {id: "a\"b\\c\nd\x01"} => id: "a\"b\\c\nd\u0001"/
monitoring_commands: {allow_actions: true} => remote_actions:/  enabled: true/  require_confirmation: true/  ttl_seconds: 15/
)-",
                                  "=>")) {
    std::string lines = row.at(1);
    std::ranges::replace(lines, '/', '\n');
    expect_parts(render_text(load_text(row[0])), {lines});
  }
}

TEST(Render, ATextThatIsNoUtf8LeavesTheFileAlone) {
  const TempDir dir;
  write_text_file(dir / "c.yaml", "kept");
  Config config = default_config();
  config.agent.id = "\xff";
  EXPECT_TRUE(error_of([&] { render_config(config, dir / "c.yaml"); }).has_value());
  EXPECT_EQ(read_text_file(dir / "c.yaml"), "kept");
}
