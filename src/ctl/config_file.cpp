#include "ctl/config_file.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "zunol_monitoring/config/duration.h"

namespace zunol_monitoring::ctl {
namespace {

/// Characters to insert, delete or replace to get from one text to the other.
std::size_t edit_distance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
    }
  }
  return row.back();
}

std::string lower_case(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

/// "; did you mean" and the one of the names that was probably meant, or "".
std::string guess(const std::string& given, const std::vector<std::string>& names) {
  constexpr std::size_t longest_name = 100;  // far above every key
  if (given.size() > longest_name) return "";
  const std::string name = lower_case(given);
  std::string nearest;
  std::size_t least = std::max<std::size_t>(2, name.size() / 3) + 1;
  for (const std::string& known : names) {
    const std::string other = lower_case(known);
    const bool begins = name.size() > 2 && other.starts_with(name);
    const std::size_t distance = begins ? 1 : edit_distance(name, other);
    if (distance < std::min(least, name.size())) {
      least = distance;
      nearest = known;
    }
  }
  return nearest.empty() ? "" : "; did you mean " + nearest + '?';
}

std::string listed(const std::vector<std::string>& words) {
  std::string list;
  for (const std::string& word : words) {
    if (!list.empty()) list += &word == &words.back() ? " or " : ", ";
    list += word;
  }
  return list;
}

bool is_utf8(const std::string& text) {
  try {
    (void)nlohmann::json(text).dump();
    return true;
  } catch (const nlohmann::json::type_error&) {
    return false;
  }
}

bool is_no_duration(const std::string& text) {
  try {
    return parse_duration_seconds(text, -1) < 0;
  } catch (const std::out_of_range&) {
    return true;
  }
}

/// A file with more is no configuration.
constexpr std::size_t most_warnings = 200;

struct Entry {
  YAML::Node key;
  YAML::Node value;
};

class FileExaminer {
 public:
  ConfigFile result;

  void block(const YAML::Node& node, const std::vector<ConfigKey>& keys, const Source& at) {
    if (node.IsSequence()) return warn(at, "is a list instead of keys and is ignored");
    const std::map<std::string, Entry> entries = entries_of(node, keys, at);
    for (const ConfigKey& key : keys) {
      const auto entry = entries.find(key.name);
      if (entry != entries.end()) {
        value(key, entry->second.value, source_of(entry->second.key, key.path));
      } else if (key.emptied_with_block) {
        result.sources[key.home] = {at.line, at.column, at.key, true};
      }
    }
  }

  std::size_t left_out = 0;  ///< warnings beyond the bound

  void warn(const Source& at, const std::string& what) {
    if (is_full()) {
      ++left_out;
    } else {
      result.warnings.push_back({at.line, at.column, at.key + ' ' + what});
    }
  }

 private:
  bool is_full() const { return result.warnings.size() >= most_warnings; }

  static Source source_of(const YAML::Node& node, const std::string& path) {
    return {node.Mark().line + 1, node.Mark().column + 1, path};
  }

  /// The first entry of each name, which is the one that counts.
  std::map<std::string, Entry> entries_of(const YAML::Node& node,
                                          const std::vector<ConfigKey>& keys, const Source& at) {
    std::map<std::string, Entry> entries;
    if (!node.IsMap()) return entries;
    const std::string prefix = at.key.empty() ? "" : at.key + '.';
    for (const auto& entry : node) {
      const std::string name = entry.first.IsScalar() ? entry.first.Scalar() : "(no text)";
      const Source here = source_of(entry.first, prefix + name);
      if (std::ranges::find(keys, name, &ConfigKey::name) == keys.end()) {
        std::vector<std::string> names;
        if (!is_full()) {
          for (const ConfigKey& key : keys) names.push_back(key.name);
        }
        warn(here, "is unknown and ignored" + guess(name, names));
      } else if (!entries.emplace(name, Entry{entry.first, entry.second}).second) {
        warn(here, "stands twice, and the first one counts");
      }
    }
    return entries;
  }

  void value(const ConfigKey& key, const YAML::Node& node, const Source& at) {
    switch (key.kind) {
      case KeyKind::unread:
        return;
      case KeyKind::block:
        return block(node, key.children, at);
      case KeyKind::texts:
      case KeyKind::records:
        if (!list(key, node, at)) return;
        break;
      case KeyKind::text:
      case KeyKind::path:
      case KeyKind::duration:
        text(key, node, at);
        break;
      default:
        break;
    }
    if (key.converted && node.IsScalar() && node.Scalar().empty()) return;
    note_source(key, node, at);
  }

  void text(const ConfigKey& key, const YAML::Node& node, const Source& at) {
    if (node.IsNull()) return warn(at, "has no value and reads as the text \"null\"");
    const std::string& text = node.Scalar();
    if (!is_utf8(text)) {
      warn(at, "is no UTF-8, as which events and listings would hold it");
    } else if (!text.empty() && text.find_first_not_of(" \t\r\n") == std::string::npos) {
      warn(at, "is blank, but not empty");
    } else if (key.kind == KeyKind::duration && is_no_duration(text)) {
      warn(at, "is no duration, such as 90, 30s, 5m, 6h or 7d");
    } else if (node.IsScalar() && !key.words.empty() &&
               std::ranges::find(key.words, text) == key.words.end()) {
      warn(at, "is none of the known words " + listed(key.words) + guess(text, key.words));
    }
  }

  /// Whether the value counts.
  bool list(const ConfigKey& key, const YAML::Node& node, const Source& at) {
    if (!node.IsSequence()) {
      if (key.kept_unless_list) {
        warn(at, "is no list and is ignored");
      } else if (!node.IsNull()) {
        warn(at, "is no list and reads as an empty one");
      }
      return !key.kept_unless_list;
    }
    result.items[key.home].clear();  // those of a key that is beaten
    for (const YAML::Node& item : node) {
      if (key.kind == KeyKind::records) {
        result.items[key.home].push_back(source_of(item, key.path + "[]"));
        block(item, key.children, item.IsNull() ? at : source_of(item, key.path + "[]"));
        if (item.IsNull()) warn(at, "has an item without keys");
      } else if (item.IsNull()) {
        warn(at, "has an item without a value, which reads as the text \"null\"");
      }
    }
    return true;
  }

  void note_source(const ConfigKey& key, const YAML::Node& node, const Source& at) {
    // Inside an item of a list no field stands for itself.
    if (key.path.find("[]") != std::string::npos) return;
    const std::string text = YAML::Dump(node);
    const auto earlier = result.sources.find(key.home);
    if (earlier != result.sources.end() && !earlier->second.emptied && texts_[key.home] != text) {
      warn(earlier->second, "has no effect, as " + at.key + " beats it");
    }
    result.sources[key.home] = at;
    texts_[key.home] = text;
  }

  std::map<std::string, std::string> texts_;  ///< of the values in `sources`
};

/// Notes where the second document of a text begins, and keeps nothing.
class SecondDocument : public YAML::EventHandler {
 public:
  /// Line and column are from 0; line -1 where there is none.
  static YAML::Mark begin(const std::string& text) {
    SecondDocument handler;
    std::istringstream in(text);
    YAML::Parser parser(in);
    try {
      parser.HandleNextDocument(handler);
      handler.mark_ = YAML::Mark::null_mark();
      parser.HandleNextDocument(handler);
    } catch (const YAML::Exception&) {
      // Behind the first document, which has loaded.
    }
    return handler.mark_;
  }

  void OnDocumentStart(const YAML::Mark& mark) override { mark_ = mark; }
  void OnDocumentEnd() override {}
  void OnNull(const YAML::Mark&, YAML::anchor_t) override {}
  void OnAlias(const YAML::Mark&, YAML::anchor_t) override {}
  void OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t,
                const std::string&) override {}
  void OnSequenceStart(const YAML::Mark&, const std::string&, YAML::anchor_t,
                       YAML::EmitterStyle::value) override {}
  void OnSequenceEnd() override {}
  void OnMapStart(const YAML::Mark&, const std::string&, YAML::anchor_t,
                  YAML::EmitterStyle::value) override {}
  void OnMapEnd() override {}

 private:
  YAML::Mark mark_ = YAML::Mark::null_mark();
};

/// A second field is fed where the file has no other key for it.
void note_second_fields(ConfigFile& file, const KeyIndex& index) {
  for_each_key(index.keys(), [&](const ConfigKey& key) {
    const auto source = file.sources.find(key.home);
    if (key.also == no_place || source == file.sources.end()) return;
    file.sources.try_emplace(index.at(key.also).home->path, source->second);
  });
}

void tell_rest(std::vector<Finding>& warnings, std::size_t count) {
  if (count == 0) return;
  warnings.push_back({.message = "and " + std::to_string(count) + " more warnings"});
}

}  // namespace

ConfigFile examine_config(const std::string& text, const KeyIndex& index) {
  FileExaminer examiner;
  if (const YAML::Mark second = SecondDocument::begin(text); !second.is_null()) {
    examiner.warn({second.line + 1, second.column + 1, "the document"},
                  "here and all behind it are ignored");
  }
  examiner.block(YAML::Load(text), index.keys(), {1, 1, ""});
  note_second_fields(examiner.result, index);
  std::ranges::stable_sort(examiner.result.warnings, {}, [](const Finding& finding) {
    return std::pair(finding.line, finding.column);
  });
  tell_rest(examiner.result.warnings, examiner.left_out);
  return std::move(examiner.result);
}

void count_rest(std::vector<Finding>& warnings) {
  if (warnings.size() <= most_warnings) return;
  const std::size_t rest = warnings.size() - most_warnings;
  warnings.resize(most_warnings);
  tell_rest(warnings, rest);
}

}  // namespace zunol_monitoring::ctl
