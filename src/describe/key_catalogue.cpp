#include "describe/key_catalogue.h"

#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <map>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>

#include "config/keys/config_keys.h"
#include "config/yaml_text.h"

namespace zunol_monitoring {
namespace {

/// The key under which a field is at home, as far as the walk has come.
struct Home {
  std::string path;
  bool in_record = false;  ///< the block of the key is the field's record
};
using Homes = std::map<FieldPlace, Home>;

std::string json_text(const std::string& text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// In as many digits as it takes. JSON has no word for what is infinite or no number; the loader
/// takes these texts.
std::string json_value(double value) {
  if (std::isnan(value)) return "\".nan\"";
  if (std::isinf(value)) return value > 0 ? "\".inf\"" : "\"-.inf\"";
  std::array<char, 32> digits;
  return {digits.data(), std::to_chars(digits.begin(), digits.end(), value).ptr};
}
std::string json_value(const std::string& text) { return json_text(text); }
std::string json_value(const std::filesystem::path& path) { return json_text(path.string()); }
std::string json_value(const auto& value) { return yaml_value(value); }

KeyKind kind_of(bool) { return KeyKind::boolean; }
KeyKind kind_of(int) { return KeyKind::integer; }
KeyKind kind_of(std::uint64_t) { return KeyKind::unsigned_integer; }
KeyKind kind_of(double) { return KeyKind::number; }
KeyKind kind_of(const std::string&) { return KeyKind::text; }
KeyKind kind_of(const std::filesystem::path&) { return KeyKind::path; }

template <class Item>
std::string json_list(const std::vector<Item>& items, auto json_of) {
  std::string text = "[";
  for (const Item& item : items) {
    if (text.size() > 1) text += ',';
    text += json_of(item);
  }
  return text + ']';
}

class CatalogueBuilder {
 public:
  static constexpr bool reading = false;
  static constexpr bool rendering = false;

  /// What a walk shares.
  struct Walk {
    const Config& config;
    Homes& homes;
  };
  /// Where in the file a block stands.
  struct Block {
    std::string prefix;
    bool alternative = false;
    bool record = true;
  };

  CatalogueBuilder(Walk walk, Block block, std::vector<ConfigKey>& keys)
      : walk_(walk), block_(std::move(block)), keys_(keys) {}

  void field(const char* key, const auto& value, const KeyText& text = {}) {
    leaf(key, kind_of(value), value, text);
  }
  void duration(const char* key, const std::string& value, const KeyText& text = {}) {
    leaf(key, KeyKind::duration, value, text);
  }
  void credential(const char* key, const std::string& value, const KeyText& text = {}) {
    leaf(key, KeyKind::text, value, text).credential = true;
  }
  void literal(const char* key, const char* /*value*/, const KeyText& text = {}) {
    add(key, KeyKind::unread, text);
  }

  void alias(const char* key, const auto& value, const KeyText& text = {}) {
    const bool before = std::exchange(block_.alternative, true);
    if constexpr (requires { kind_of(value); }) {
      field(key, value, text);
    } else {
      block(key, value, text);
    }
    block_.alternative = before;
  }
  template <class Read, class Value>
  void alias(const char* key, const Value& value, void (* /*feed*/)(Read, Value&)) {
    const bool before = std::exchange(block_.alternative, true);
    ConfigKey& added = leaf(key, kind_of(std::remove_cvref_t<Read>{}), value, {});
    added.converted = true;
    block_.alternative = before;
  }
  void feeds(const char* key, const auto& value) {
    for (ConfigKey& known : keys_) {
      if (known.name == key) known.also = field_place(walk_.config, &value);
    }
  }

  void list(const char* key, const std::vector<std::string>& texts, const KeyText& text = {}) {
    place(add(key, KeyKind::texts, text), &texts).value = json_list(texts, json_text);
  }
  void list_always(const char* key, const std::vector<std::string>& texts,
                   const KeyText& text = {}) {
    list(key, texts, text);
    keys_.back().emptied_with_block = true;
  }
  template <class Record>
  void kept_records(const char* key, const std::vector<Record>& list, const KeyText& text = {}) {
    ConfigKey& added = place(add(key, KeyKind::records, text), &list);
    added.kept_unless_list = true;
    const auto item_keys = [&](const Record& item) {
      std::vector<ConfigKey> keys;
      CatalogueBuilder builder(walk_, {added.path + "[].", block_.alternative}, keys);
      visit_keys(builder, item);
      return keys;
    };
    added.value =
        json_list(list, [&](const Record& item) { return catalogue_json(item_keys(item)); });
    added.children = item_keys(Record{});
  }
  template <class Record>
  void records(const char* key, const std::vector<Record>& list, const KeyText& text = {}) {
    kept_records(key, list, text);
    keys_.back().kept_unless_list = false;
    keys_.back().emptied_with_block = true;
  }
  template <class Record>
  void bare_records(const char* key, const std::vector<Record>& list, const KeyText& text = {}) {
    records(key, list, text);
  }

  template <class Keys>
  void block(const char* key, const Keys& keys, const KeyText& text = {}) {
    constexpr bool callable = std::invocable<const Keys&, CatalogueBuilder&>;
    ConfigKey& added = add(key, KeyKind::block, text);
    CatalogueBuilder inner(walk_, {added.path + '.', block_.alternative, !callable},
                           added.children);
    if constexpr (callable) {
      keys(inner);
    } else {
      visit_keys(inner, keys);
    }
  }
  void flow_block(const char* key, const auto& record, const KeyText& text = {}) {
    block(key, record, text);
  }

 private:
  ConfigKey& add(const char* key, KeyKind kind, const KeyText& text) {
    keys_.push_back({.name = key,
                     .path = block_.prefix + key,
                     .kind = kind,
                     .meaning = text.meaning,
                     .words = {text.words.begin(), text.words.end()},
                     .alternative = block_.alternative});
    return keys_.back();
  }
  ConfigKey& place(ConfigKey& key, const void* field) {
    key.place = field_place(walk_.config, field);
    if (key.place != no_place && !key.alternative) {
      Home& home = walk_.homes[key.place];
      if (home.path.empty() || (block_.record && !home.in_record)) {
        home = {key.path, block_.record};
      }
    }
    return key;
  }
  ConfigKey& leaf(const char* key, KeyKind kind, const auto& value, const KeyText& text) {
    ConfigKey& added = place(add(key, kind, text), &value);
    added.value = json_value(value);
    return added;
  }

  Walk walk_;
  Block block_;
  std::vector<ConfigKey>& keys_;
};

void name_homes(std::vector<ConfigKey>& keys, const Homes& homes) {
  for (ConfigKey& key : keys) {
    const auto home = homes.find(key.place);
    key.home = home != homes.end() ? home->second.path : key.path;
    if (key.home != key.path) key.meaning = "Another name of " + key.home;
    name_homes(key.children, homes);
  }
}

}  // namespace

std::vector<ConfigKey> key_catalogue(const Config& config) {
  std::vector<ConfigKey> keys;
  Homes homes;
  CatalogueBuilder builder({config, homes}, {}, keys);
  visit_keys(builder, config);
  name_homes(keys, homes);
  return keys;
}

std::string catalogue_json(const std::vector<ConfigKey>& keys) {
  std::string text = "{";
  for (const ConfigKey& key : keys) {
    if (key.alternative || key.kind == KeyKind::unread) continue;
    if (text.size() > 1) text += ',';
    text += json_text(key.name) + ':' +
            (key.kind == KeyKind::block ? catalogue_json(key.children) : key.value);
  }
  return text + '}';
}

std::string catalogue_yaml(const std::vector<ConfigKey>& keys, std::size_t indent) {
  std::string text;
  for (const ConfigKey& key : keys) {
    if (key.alternative || key.kind == KeyKind::unread) continue;
    if (indent == 0 && key.kind == KeyKind::block) text += '\n';
    text.append(indent, ' ').append(key.name).append(":");
    if (key.kind == KeyKind::block) {
      text += '\n' + catalogue_yaml(key.children, indent + 2);
    } else if (key.value != "[]" && (key.kind == KeyKind::texts || key.kind == KeyKind::records)) {
      text += '\n';
      for (const auto& item : nlohmann::ordered_json::parse(key.value)) {
        text.append(indent + 2, ' ').append("- ").append(item.dump()).append("\n");
      }
    } else {
      text += ' ' + key.value + '\n';
    }
  }
  return text;
}

}  // namespace zunol_monitoring
