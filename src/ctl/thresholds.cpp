#include "ctl/thresholds.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "describe/key_rules.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

class ThresholdExaminer {
 public:
  ThresholdExaminer(const TolerantRead& read, const ConfigFile& file) : read_(read), file_(file) {}

  std::vector<Finding> findings;

  /// `values` holds those of the block by name. In an item of a list no key has a place of its own.
  void block(const std::vector<ConfigKey>& keys, const json& values, const Source* item,
             FieldPlace list) {
    for (const ConfigKey& key : keys) {
      const std::size_t at = key.name.find("warning");
      if (at != std::string::npos) {
        std::string other = key.name;
        other.replace(at, std::string("warning").size(), "critical");
        const auto critical = std::ranges::find(keys, other, &ConfigKey::name);
        if (critical != keys.end()) pair(key, *critical, values, item, list);
      }
      const auto value = values.find(key.name);
      if (value == values.end()) continue;
      if (key.kind == KeyKind::block) block(key.children, *value, item, list);
      if (key.kind == KeyKind::records) items(key, *value);
    }
  }

 private:
  void items(const ConfigKey& list, const json& values) {
    const auto places = file_.items.find(list.home);
    if (places == file_.items.end() || places->second.size() != values.size()) return;
    for (std::size_t i = 0; i < values.size(); ++i) {
      block(list.children, values[i], &places->second[i], list.place);
    }
  }

  void pair(const ConfigKey& warning, const ConfigKey& critical, const json& values,
            const Source* item, FieldPlace list) {
    if (warning.kind == KeyKind::block) {
      for (std::size_t i = 0; i < warning.children.size(); ++i) {
        const ConfigKey& key = warning.children[i];
        if (key.kind != KeyKind::number || !values.contains(warning.name)) continue;
        compare(key, critical.children[i], values[warning.name][key.name],
                values[critical.name][key.name], item);
      }
    } else if (values.contains(warning.name) && !has_rule(warning, critical, list)) {
      compare(warning, critical, values[warning.name], values[critical.name], item);
    }
  }

  /// Of a list of blocks the message alone tells which keys a rule is about.
  bool has_rule(const ConfigKey& warning, const ConfigKey& critical, FieldPlace list) const {
    return std::ranges::any_of(rules_, [&](const KeyRule& rule) {
      const auto is_about = [&](const ConfigKey& key) {
        if (key.place == no_place && rule.message.find(key.name) == std::string::npos) return false;
        const FieldPlace place = key.place != no_place ? key.place : list;
        return place != no_place && std::ranges::find(rule.fields, place) != rule.fields.end();
      };
      return is_about(warning) && is_about(critical);
    });
  }

  void compare(const ConfigKey& warning, const ConfigKey& critical, const json& first,
               const json& second, const Source* item) {
    if (!first.is_number() || !second.is_number() || first <= 0 || second <= 0) return;
    if (read_.wrong.contains(warning.place) || read_.wrong.contains(critical.place)) return;
    const bool less_is_worse = warning.name.find("days") != std::string::npos ||
                               warning.name.find("min_") != std::string::npos;
    if (less_is_worse ? first >= second : first <= second) return;
    const Source* at = item;
    for (const ConfigKey* key : {&critical, &warning}) {
      const auto source = file_.sources.find(key->home);
      if (at == nullptr && source != file_.sources.end()) at = &source->second;
    }
    if (at == nullptr) return;
    findings.push_back({at->line, at->column,
                        critical.path + " is " + second.dump() + " and reached before " +
                            warning.path + ", which is " + first.dump()});
  }

  const TolerantRead& read_;
  const ConfigFile& file_;
  const std::vector<KeyRule> rules_ = key_rules();
};

}  // namespace

std::vector<Finding> examine_thresholds(const TolerantRead& read, const ConfigFile& file) {
  const std::vector<ConfigKey> keys = key_catalogue(read.config);
  ThresholdExaminer examiner(read, file);
  examiner.block(keys, json::parse(catalogue_json(keys)), nullptr, no_place);
  count_rest(examiner.findings);
  return std::move(examiner.findings);
}

}  // namespace zunol_monitoring::ctl
