// A block of a YAML document, looked up by key.
#pragma once

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace zunol_monitoring {

/// Files mostly have their keys in the order in which they are read, while the library compares a
/// key with each key of the block from the first on. So a block remembers what follows the value
/// that it gave last and looks there first. Once the last value is given in this way, all of them
/// have been, and no key can be there but one that is taken again.
class YamlBlock {
 public:
  /// The block `node`, which may be undefined and must live as long as this object.
  explicit YamlBlock(const YAML::Node& node) : node_(node) {
    is_map_ = node_.IsDefined() && node_.IsMap();
    if (!is_map_) return;
    next_ = node_.begin();
    end_ = node_.end();
  }

  bool has(const char* key) const { return node_.IsDefined() && node_[key].IsDefined(); }

  /// The value of `key`, undefined where the block has none. Raises the library's exception when
  /// the block is a scalar.
  YAML::Node take(const char* key) {
    if (is_map_) {
      if (next_ == end_ && !was_taken(key)) return YAML::Node(YAML::NodeType::Undefined);
      if (next_ != end_) {
        const auto entry = *next_;
        if (entry.first.IsScalar() && entry.first.Scalar() == key) {
          ++next_;
          taken_.push_back(key);
          return entry.second;
        }
      }
    }
    return node_.IsDefined() ? node_[key] : YAML::Node(YAML::NodeType::Undefined);
  }

 private:
  bool was_taken(std::string_view key) const {
    return std::find(taken_.begin(), taken_.end(), key) != taken_.end();
  }

  const YAML::Node& node_;
  bool is_map_ = false;
  YAML::const_iterator next_;
  YAML::const_iterator end_;
  std::vector<std::string_view> taken_;
};

}  // namespace zunol_monitoring
