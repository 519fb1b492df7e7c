#include "config/value_readers.h"

#include <yaml-cpp/yaml.h>

namespace zunol_monitoring {
namespace {

template <class Value>
Value read(const YAML::Node& node, const char* key, const Value& fallback) {
  if (!node.IsDefined()) return fallback;
  const YAML::Node value = node[key];
  return value.IsDefined() ? value.as<Value>() : fallback;
}

}  // namespace

std::string read_string(const YAML::Node& node, const char* key, const std::string& fallback) {
  return read(node, key, fallback);
}

int read_int(const YAML::Node& node, const char* key, int fallback) {
  return read(node, key, fallback);
}

std::uint64_t read_u64(const YAML::Node& node, const char* key, std::uint64_t fallback) {
  return read(node, key, fallback);
}

double read_double(const YAML::Node& node, const char* key, double fallback) {
  return read(node, key, fallback);
}

bool read_bool(const YAML::Node& node, const char* key, bool fallback) {
  return read(node, key, fallback);
}

std::vector<std::string> read_string_list(const YAML::Node& node) {
  std::vector<std::string> list;
  if (!node.IsSequence()) return list;
  for (const auto& item : node) list.push_back(item.as<std::string>());
  return list;
}

}  // namespace zunol_monitoring
