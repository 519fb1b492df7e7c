#include "config/value_readers.h"

namespace zunol_monitoring {
namespace {

template <class Value>
Value read(YamlBlock& block, const char* key, const Value& fallback) {
  const YAML::Node value = block.take(key);
  return value.IsDefined() ? value.as<Value>() : fallback;
}

}  // namespace

std::string read_string(YamlBlock& block, const char* key, const std::string& fallback) {
  return read(block, key, fallback);
}

int read_int(YamlBlock& block, const char* key, int fallback) { return read(block, key, fallback); }

std::uint64_t read_u64(YamlBlock& block, const char* key, std::uint64_t fallback) {
  return read(block, key, fallback);
}

double read_double(YamlBlock& block, const char* key, double fallback) {
  return read(block, key, fallback);
}

bool read_bool(YamlBlock& block, const char* key, bool fallback) {
  return read(block, key, fallback);
}

std::vector<std::string> read_string_list(const YAML::Node& node) {
  std::vector<std::string> list;
  if (!node.IsDefined() || !node.IsSequence()) return list;
  for (const auto& item : node) list.push_back(item.as<std::string>());
  return list;
}

}  // namespace zunol_monitoring
