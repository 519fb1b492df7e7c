#include "config/value_readers.h"

#include <charconv>
#include <concepts>
#include <string_view>

namespace zunol_monitoring {
namespace {

template <class Value>
Value convert(const YAML::Node& node) {
  return node.as<Value>();
}

/// Plain decimal digits are read here, as the library takes each number through a stream of its
/// own. A leading zero is left to it: it may begin another base.
template <std::integral Value>
requires(!std::same_as<Value, bool>) Value convert(const YAML::Node& node) {
  if (node.IsScalar()) {
    const std::string_view text = node.Scalar();
    const char* end = text.data() + text.size();
    Value number = 0;
    const auto [last, error] = std::from_chars(text.data(), end, number);
    const bool other_base = text.size() > 1 && text[text.front() == '-' ? 1 : 0] == '0';
    if (error == std::errc() && last == end && !other_base) return number;
  }
  return node.as<Value>();
}

template <class Value>
Value read(YamlBlock& block, const char* key, const Value& fallback) {
  const YAML::Node value = block.take(key);
  return value.IsDefined() ? convert<Value>(value) : fallback;
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
