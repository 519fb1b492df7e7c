// The visitor that reads: it takes the values of a block of a YAML document into a record.
#pragma once

#include <yaml-cpp/yaml.h>

#include <concepts>
#include <cstdint>
#include <filesystem>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "config/keys/key_text.h"
#include "config/value_readers.h"
#include "config/yaml_block.h"

namespace zunol_monitoring {

class KeyReader {
 public:
  static constexpr bool reading = true;
  static constexpr bool rendering = false;

  /// Reads the block `node`, which must live as long as the reader.
  explicit KeyReader(const YAML::Node& node) : block_(node) {}

  bool has(const char* key) const { return block_.has(key); }
  YAML::Node take(const char* key) { return block_.take(key); }

  void field(const char* key, bool& value, Untold = {}) { value = read_bool(block_, key, value); }
  void field(const char* key, int& value, Untold = {}) { value = read_int(block_, key, value); }
  void field(const char* key, std::uint64_t& value, Untold = {}) {
    value = read_u64(block_, key, value);
  }
  void field(const char* key, double& value, Untold = {}) {
    value = read_double(block_, key, value);
  }
  void field(const char* key, std::string& value, Untold = {}) {
    value = read_string(block_, key, value);
  }
  void field(const char* key, std::filesystem::path& value, Untold = {}) {
    value = read_string(block_, key, value.string());
  }
  void duration(const char* key, std::string& value, Untold = {}) { field(key, value); }
  void credential(const char* key, std::string& value, Untold = {}) { field(key, value); }

  void alias(const char* key, auto&& value, Untold = {}) {
    if constexpr (requires { field(key, value); }) {
      field(key, value);
    } else {
      block(key, value);
    }
  }
  template <class Read, class Value>
  void alias(const char* key, Value& value, void (*feed)(Read, Value&)) {
    if (const YAML::Node node = block_.take(key); node.IsDefined()) {
      feed(node.as<std::remove_cvref_t<Read>>(), value);
    }
  }
  void literal(const char* /*key*/, const char* /*text*/, Untold = {}) {}

  void list(const char* key, std::vector<std::string>& texts, Untold = {}) {
    if (const YAML::Node node = block_.take(key); node.IsDefined()) texts = read_string_list(node);
  }
  void list_always(const char* key, std::vector<std::string>& texts, Untold = {}) {
    texts.clear();
    list(key, texts);
  }

  template <class Record>
  void kept_records(const char* key, std::vector<Record>& list, Untold = {}) {
    const YAML::Node node = block_.take(key);
    if (!node.IsDefined() || !node.IsSequence()) return;
    list.clear();
    list.reserve(node.size());
    for (const YAML::Node& item : node) {
      KeyReader reader(item);
      visit_keys(reader, list.emplace_back());
    }
  }
  template <class Record>
  void records(const char* key, std::vector<Record>& list, Untold = {}) {
    list.clear();
    kept_records(key, list);
  }
  template <class Record>
  void bare_records(const char* key, std::vector<Record>& list, Untold = {}) {
    records(key, list);
  }

  /// `keys` is a record or a callable that is handed the reader of the block.
  template <class Keys>
  void block(const char* key, Keys&& keys, Untold = {}) {
    const YAML::Node node = block_.take(key);
    if (!node.IsDefined()) return;
    KeyReader reader(node);
    if constexpr (std::invocable<Keys&, KeyReader&>) {
      keys(reader);
    } else {
      visit_keys(reader, keys);
    }
  }
  template <class Record>
  void flow_block(const char* key, Record& record, Untold = {}) {
    block(key, record);
  }

 private:
  YamlBlock block_;
};

}  // namespace zunol_monitoring
