// The conversion of single YAML values: what converts, and the exception where a value does not,
// are those of the YAML library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/yaml_block.h"

namespace zunol_monitoring {

// The value of `key` in the block, or `fallback` where the key is absent or the block undefined. A
// key without a value is no integer, double or bool, and reads as the text "null".
std::string read_string(YamlBlock& block, const char* key, const std::string& fallback);
int read_int(YamlBlock& block, const char* key, int fallback);
std::uint64_t read_u64(YamlBlock& block, const char* key, std::uint64_t fallback);
double read_double(YamlBlock& block, const char* key, double fallback);
bool read_bool(YamlBlock& block, const char* key, bool fallback);

/// The items of the list `node` itself; the empty list for anything but a sequence, an undefined
/// node included. An item without a value reads as the text "null".
std::vector<std::string> read_string_list(const YAML::Node& node);

}  // namespace zunol_monitoring
