#include "ctl/config_reference.h"

#include "describe/key_index.h"
#include "describe/key_rules.h"

namespace zunol_monitoring::ctl {
namespace {

constexpr const char* introduction =
    R"(<!-- Written by `zunol-monitoring-ctl config reference`. Do not edit: change the declarations. -->
# Every key of the configuration

The file is one YAML document. Each key may be left out and has its default then. A key that is not
listed here is ignored, and `zunol-monitoring-ctl config check` warns about it. A value that is not of
its type fails the load; a broken rule does not. `config check` tells both. Some fields have several
keys: of those in a file, one wins. A usable variable of the environment beats the file.

| Type | Values |
|---|---|
| boolean | `true`, `yes`, `on`, `y` or `false`, `no`, `off`, `n` |
| integer, unsigned | a whole number of 32 bits with a sign, of 64 bits without one; also in hexadecimal (`0x10`) and octal (`010`) |
| number | a number, also `.inf` and `.nan` |
| text, path | any scalar; a key without a value reads as the text `null` |
| duration | a whole number and a unit: `90` or `90s`, `250ms`, `5m`, `6h`, `7d` |
| list of texts, list of blocks | a sequence; for most lists anything else reads as an empty one. `[]` in a path stands for the items |

A list marked with * is emptied when its block is in the file without it.
)";

const char* type_of(const ConfigKey& key) {
  switch (key.kind) {
    case KeyKind::boolean:
      return "boolean";
    case KeyKind::integer:
      return "integer";
    case KeyKind::unsigned_integer:
      return "unsigned";
    case KeyKind::number:
      return "number";
    case KeyKind::text:
      return "text";
    case KeyKind::path:
      return "path";
    case KeyKind::duration:
      return "duration";
    case KeyKind::texts:
      return key.emptied_with_block ? "list of texts *" : "list of texts";
    case KeyKind::records:
      return key.emptied_with_block ? "list of blocks *" : "list of blocks";
    case KeyKind::block:
      return "block";
    default:
      return "not read";
  }
}

std::string code(const std::string& text) { return text.empty() ? "" : '`' + text + '`'; }

std::string joined(const std::vector<std::string>& texts, const char* separator,
                   const char* last_separator) {
  std::string list;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) list += i + 1 == texts.size() ? last_separator : separator;
    list += texts[i];
  }
  return list;
}

class Reference {
 public:
  std::string text() const {
    std::string text = introduction;
    for (const ConfigKey& section : index_.keys()) {
      text += "\n## " + section.name + "\n\n" +
              (section.kind == KeyKind::block ? section.meaning + ".\n\n" : "") +
              "| Key | Meaning | Type | Default | Rule | Variable |\n|---|---|---|---|---|---|\n";
      for_each_key({section}, [&](const ConfigKey& key) {
        if (key.kind != KeyKind::block || key.path != section.path) text += row(key);
      });
      text += relations(section);
    }
    return text;
  }

 private:
  std::string row(const ConfigKey& key) const {
    std::vector<std::string> notes;
    if (key.credential) notes.emplace_back("a credential");
    if (key.path != key.home) {
      const bool wins = index_.at(key.place).keys.back()->path == key.path;
      notes.push_back((wins ? "beats " : "beaten by ") + code(key.home));
    } else if (key.place != no_place) {
      const ConfigKey& last = *index_.at(key.place).keys.back();
      if (last.path != key.path) notes.push_back(code(last.path) + " wins");
    }
    if (!key.words.empty())
      notes.push_back("one of " + joined(key.words, ", ", " and ") + "; others are warned of");
    if (key.also != no_place)
      notes.push_back("also " + code(index_.at(key.also).home->path) + ", where that is absent");
    for (const KeyRule& rule : rules_) {
      if (rule.kind == KeyRule::Kind::relation || rule.place != key.place) continue;
      notes.push_back(rule.claim + gates(rule));
    }
    const std::string& variable = index_.at(key.place).variable;
    return "| " + code(key.path) + " | " + key.meaning + " | " + type_of(key) + " | " +
           code(key.converted ? "" : key.value) + " | " + joined(notes, "; ", "; ") + " | " +
           code(variable) + " |\n";
  }

  std::string gates(const KeyRule& rule) const {
    std::vector<std::string> texts;
    for (const RuleGate& gate : rule.gates) {
      const std::string& home = index_.at(gate.place).home->path;
      if (gate.words.empty()) {
        texts.push_back(code(home + (gate.open_when ? "" : "=false")));
      } else {
        texts.push_back(code(home) + (gate.open_when ? " is " : " is not ") +
                        joined(gate.words, ", ", " or "));
      }
    }
    return texts.empty() ? "" : " (where " + joined(texts, ", ", " and ") + ')';
  }

  std::string relations(const ConfigKey& section) const {
    std::string text;
    for (const KeyRule& rule : rules_) {
      if (rule.kind != KeyRule::Kind::relation || section_of(rule) != section.name) continue;
      text += "- " + rule.message + gates(rule) + '\n';
    }
    return text.empty() ? "" : "\nFurther rules:\n\n" + text;
  }

  /// A message begins with its section, or has a gate in it.
  std::string section_of(const KeyRule& rule) const {
    std::string first = rule.message.substr(0, rule.message.find_first_of(". "));
    for (const ConfigKey& key : index_.keys()) {
      if (key.name == first) return first;
    }
    const std::string& gate = index_.at(rule.gates.front().place).home->path;
    return gate.substr(0, gate.find('.'));
  }

  const KeyIndex index_{default_config()};
  const std::vector<KeyRule> rules_ = key_rules();
};

}  // namespace

std::string config_reference() { return Reference().text(); }

}  // namespace zunol_monitoring::ctl
