#include "ctl/config_schema.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "describe/key_index.h"
#include "describe/key_rules.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;
using Kind = KeyRule::Kind;

// What YAML calls a boolean, and so what the loader takes for one. YAML libraries differ in which
// of these words are booleans to them and which are texts.
constexpr std::array true_words = {"y",    "Y",    "yes", "Yes", "YES", "true",
                                   "True", "TRUE", "on",  "On",  "ON"};
constexpr std::array false_words = {"n",     "N",     "no",  "No",  "NO", "false",
                                    "False", "FALSE", "off", "Off", "OFF"};

json words_for(bool value) {
  json words = value ? json(true_words) : json(false_words);
  words.insert(words.begin(), value);
  return words;
}

/// A text, or what a YAML library makes of one that is not quoted.
const json any_scalar = {{"not", {{"type", {"object", "array"}}}}};
/// A block that is empty or a list counts as one without keys.
const json block_type = {"object", "array", "null"};

/// The forms of the scalar kinds that the loader takes; numbers may be quoted.
json definitions() {
  const auto number = [](const char* type, json low, json high, const char* pattern) {
    return json{{"anyOf",
                 {{{"type", type}, {"minimum", low}, {"maximum", high}},
                  {{"type", "string"}, {"pattern", pattern}}}}};
  };
  json any_number = {
      {"anyOf",
       {{{"type", "number"}},
        {{"type", "string"},
         {"pattern",
          R"(^([+-]?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][+-]?[0-9]+)?\s*|[+-]?\.(inf|Inf|INF)|\.(nan|NaN|NAN))$)"}}}}};
  return {{"true", {{"enum", words_for(true)}}},
          {"false", {{"enum", words_for(false)}}},
          {"boolean", {{"anyOf", {{{"$ref", "#/$defs/true"}}, {{"$ref", "#/$defs/false"}}}}}},
          {"integer",
           number("integer", std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
                  R"(^[+-]?(0[xX][0-9a-fA-F]+|[0-9]+)\s*$)")},
          {"unsigned", number("integer", 0, std::numeric_limits<std::uint64_t>::max(),
                              R"(^[+]?(0[xX][0-9a-fA-F]+|[0-9]+)\s*$)")},
          {"number", any_number},
          {"text", any_scalar},
          {"texts", {{"items", any_scalar}}}};
}

const char* definition_of(KeyKind kind) {
  switch (kind) {
    case KeyKind::boolean:
      return "boolean";
    case KeyKind::integer:
      return "integer";
    case KeyKind::unsigned_integer:
      return "unsigned";
    case KeyKind::number:
      return "number";
    case KeyKind::texts:
      return "texts";
    default:
      return "text";
  }
}

/// What a value must look like to follow the rule. A number in quotes is not looked into.
json form_of(const KeyRule& rule, KeyKind kind) {
  switch (rule.kind) {
    case Kind::between:
      return {{"minimum", rule.low}, {"maximum", rule.high}};
    case Kind::at_least:
      return {{"minimum", rule.low}};
    case Kind::above_zero:
      return {{"exclusiveMinimum", 0}};
    case Kind::one_of: {
      json words = rule.words;
      for (const bool value : {true, false}) {  // a word that some library makes a boolean of
        const json booleans = words_for(value);
        if (std::ranges::any_of(rule.words, [&](const std::string& word) {
              return std::ranges::find(booleans, json(word)) != booleans.end();
            })) {
          words.push_back(value);
        }
      }
      return {{"enum", words}};
    }
    case Kind::not_empty:
      if (kind == KeyKind::texts || kind == KeyKind::records) {
        return {{"type", "array"}, {"minItems", 1}};
      }
      return {{"minLength", 1}};
    case Kind::positive_duration:
      return {{"pattern", "^0*[1-9][0-9]*(|ms|s|m|h|d)$"}, {"exclusiveMinimum", 0}};
    case Kind::time_of_day:
      return {{"pattern", "^([01][0-9]|2[0-3]):[0-5][0-9]$"}};
    case Kind::https:
      return {{"pattern", "^https://"}};
    case Kind::https_or_empty:
      return {{"pattern", "^(https://|$)"}};
    case Kind::relation:
      break;
  }
  return json::object();
}

std::vector<std::string> segments(const std::string& path) {
  std::vector<std::string> names;
  std::istringstream in(path);
  for (std::string name; std::getline(in, name, '.');) names.push_back(name);
  return names;
}

/// `form` for the key at `path`, where all blocks on the way to it are there.
json where_present(const std::string& path, json form) {
  const auto names = segments(path);
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    form = {{"properties", {{*name, std::move(form)}}}};
  }
  return form;
}

/// The key at `path` is there.
json present(const std::string& path) {
  const auto names = segments(path);
  json form;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    json block = {{"type", "object"}, {"required", {*name}}};
    if (!form.is_null()) block["properties"] = {{*name, std::move(form)}};
    form = std::move(block);
  }
  return form;
}

json absent(const std::string& path) { return {{"not", present(path)}}; }

/// All of the conditions, which may be none.
json all_of(const std::vector<json>& conditions) {
  if (conditions.empty()) return json(true);
  return conditions.size() == 1 ? conditions[0] : json{{"allOf", conditions}};
}

/// `consequence`, if all of the conditions hold.
json if_then(const std::vector<json>& conditions, json consequence) {
  if (conditions.empty()) return consequence;
  return {{"if", all_of(conditions)}, {"then", std::move(consequence)}};
}

class SchemaBuilder {
 public:
  json build() {
    json schema = block_schema(index_.keys());
    schema["$schema"] = "https://json-schema.org/draft/2020-12/schema";
    schema["title"] = "Configuration of the Zunol monitoring agent";
    schema["$defs"] = definitions();
    json rules = json::array();
    for (const KeyRule& rule : rules_) {
      if (rule.kind != Kind::relation) add_rule(rule, rules);
    }
    schema["allOf"] = rules;
    return schema;
  }

 private:
  json block_schema(const std::vector<ConfigKey>& keys) const {
    json properties = json::object();
    for (const ConfigKey& key : keys) {
      json& schema = properties[key.name] = key_schema(key);
      schema["description"] = describe(key);
    }
    return {{"type", block_type}, {"properties", properties}};
  }

  json key_schema(const ConfigKey& key) const {
    if (key.kind == KeyKind::unread) return json::object();
    if (key.kind == KeyKind::block) return block_schema(key.children);
    json schema;
    if (key.kind == KeyKind::records) {
      schema = {{"items", block_schema(key.children)}};
    } else {
      schema["$ref"] = std::string("#/$defs/") + definition_of(key.kind);
    }
    if (!key.converted) schema["default"] = json::parse(key.value);
    if (!key.words.empty()) schema["examples"] = key.words;
    for (const KeyRule& rule : rules_) {  // words to complete, whether the gate is open or not
      if (rule.kind == Kind::one_of && rule.place == key.place) schema["examples"] = rule.words;
    }
    return schema;
  }

  std::string describe(const ConfigKey& key) const {
    std::string text;
    const auto sentence = [&](const std::string& words) {
      if (!text.empty()) text += ' ';
      text += words + '.';
    };
    sentence(key.meaning);
    if (key.kind == KeyKind::unread) sentence("Not read");
    if (key.kind == KeyKind::duration) sentence("A duration, such as 90, 30s, 5m, 6h or 7d");
    if (key.place == no_place) return text;
    for (const KeyRule& rule : rules_) {
      if (rule.kind != Kind::relation && rule.place == key.place)
        sentence("The value " + rule.claim);
    }
    const std::string& variable = index_.at(key.place).variable;
    if (!variable.empty()) sentence("Overridden by the variable " + variable);
    return text;
  }

  /// None of the keys that beat the one at `index` is in the file.
  static std::vector<json> unbeaten(const std::vector<const ConfigKey*>& feeders,
                                    std::size_t index) {
    std::vector<json> conditions;
    for (std::size_t i = index + 1; i < feeders.size(); ++i) {
      conditions.push_back(absent(feeders[i]->path));
    }
    return conditions;
  }

  /// The file leaves the gate open for sure. What a converted key gives is not known here.
  json open(const RuleGate& gate) const {
    const auto& feeders = index_.at(gate.place).keys;
    const bool is_switch = gate.words.empty();
    json fits = {{"enum", gate.words}};
    if (is_switch) fits = {{"$ref", gate.open_when ? "#/$defs/true" : "#/$defs/false"}};
    if (!is_switch && !gate.open_when) fits = {{"not", std::move(fits)}};
    json ways = json::array();
    for (std::size_t i = 0; i < feeders.size(); ++i) {
      if (feeders[i]->converted) continue;
      std::vector<json> conditions = unbeaten(feeders, i);
      conditions.push_back(present(feeders[i]->path));
      conditions.push_back(where_present(feeders[i]->path, fits));
      ways.push_back(all_of(conditions));
    }
    const json standard = json::parse(index_.at(gate.place).home->value);
    const bool named =
        is_switch ? standard.get<bool>()
                  : std::ranges::find(gate.words, standard.get<std::string>()) != gate.words.end();
    if (named == gate.open_when) {
      std::vector<json> none_present;
      for (const ConfigKey* feeder : feeders) none_present.push_back(absent(feeder->path));
      ways.push_back(all_of(none_present));
    }
    return ways.size() == 1 ? ways[0] : json{{"anyOf", ways}};
  }

  void add_rule(const KeyRule& rule, json& rules) const {
    std::vector<json> gates;
    for (const RuleGate& gate : rule.gates) gates.push_back(open(gate));
    const auto& feeders = index_.at(rule.place).keys;
    const ConfigKey& home = *index_.at(rule.place).home;
    const json form = form_of(rule, home.kind);

    for (std::size_t i = 0; i < feeders.size(); ++i) {
      if (feeders[i]->converted) continue;
      std::vector<json> conditions = unbeaten(feeders, i);
      conditions.insert(conditions.begin(), gates.begin(), gates.end());
      rules.push_back(if_then(conditions, where_present(feeders[i]->path, form)));
    }
    if (rule.kind == Kind::not_empty && home.value == "\"\"") {  // the default breaks the rule
      json ways = json::array();
      for (const ConfigKey* feeder : feeders) ways.push_back(present(feeder->path));
      rules.push_back(if_then(gates, ways.size() == 1 ? ways[0] : json{{"anyOf", ways}}));
    }
    if (rule.kind == Kind::not_empty && home.emptied_with_block) {
      const std::size_t dot = home.path.rfind('.');
      const json complete = {{"type", "object"}, {"required", {home.name}}};
      rules.push_back(if_then(gates, where_present(home.path.substr(0, dot), complete)));
    }
  }

  const KeyIndex index_{default_config()};
  const std::vector<KeyRule> rules_ = key_rules();
};

}  // namespace

nlohmann::json config_schema() { return SchemaBuilder().build(); }

}  // namespace zunol_monitoring::ctl
