// The conversion of single YAML values. All of it is the YAML library's own: what converts, and the
// exception where a value does not.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace YAML {
class Node;
}

namespace zunol_monitoring {

// The value of `key` in the block `node`, or `fallback` where the key is absent or the block
// undefined. A key without a value is no integer, double or bool, and reads as the text "null".
std::string read_string(const YAML::Node& node, const char* key, const std::string& fallback);
int read_int(const YAML::Node& node, const char* key, int fallback);
std::uint64_t read_u64(const YAML::Node& node, const char* key, std::uint64_t fallback);
double read_double(const YAML::Node& node, const char* key, double fallback);
bool read_bool(const YAML::Node& node, const char* key, bool fallback);

/// The items of the list `node` itself; the empty list for anything but a sequence.
std::vector<std::string> read_string_list(const YAML::Node& node);

}  // namespace zunol_monitoring
