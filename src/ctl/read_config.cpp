#include "ctl/read_config.h"

#include <yaml-cpp/yaml.h>

#include <stdexcept>

#include "config/parse_config.h"
#include "ctl/input.h"

namespace zunol_monitoring::ctl {
namespace {

/// Deeper than any key stands, so that nothing below it is ever read.
constexpr int deepest_level = 16;

/// Counts the values of a document, each alias as what it stands for, up to the bound: a few lines
/// of aliases of aliases can stand for more than any memory holds, and one of itself for no end.
class ValueCounter {
 public:
  bool within_bound(const YAML::Node& node, int level = 0) {
    if (++count_ > most_config_values) return false;
    if (level == deepest_level || (!node.IsSequence() && !node.IsMap())) return true;
    for (const auto& entry : node) {
      if (!within_bound(node.IsMap() ? entry.second : YAML::Node(entry), level + 1)) return false;
    }
    return true;
  }

 private:
  std::size_t count_ = 0;
};

void require_bounded(const std::string& text, const std::filesystem::path& path) {
  if (text.find('*') == std::string::npos) return;  // no alias: as many values as it has bytes
  YAML::Node root;
  try {
    root = YAML::Load(text);
  } catch (const YAML::Exception&) {
    return;  // the load tells it
  }
  if (ValueCounter().within_bound(root)) return;
  throw std::runtime_error(path.string() + " has more than " + std::to_string(most_config_values) +
                           " values");
}

}  // namespace

std::string read_config_text(const std::filesystem::path& path) {
  if (!std::filesystem::exists(path)) {
    throw std::runtime_error("config not found: " + path.string());
  }
  std::string text = read_input(path.string(), largest_config_bytes);
  require_bounded(text, path);
  return text;
}

Config read_config(const std::filesystem::path& path) {
  return parse_config(read_config_text(path), path);
}

}  // namespace zunol_monitoring::ctl
