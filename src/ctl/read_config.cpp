#include "ctl/read_config.h"

#include <yaml-cpp/yaml.h>

#include <stdexcept>

#include "config/parse_config.h"
#include "ctl/input.h"

namespace zunol_monitoring::ctl {
namespace {

/// Deeper than any key stands, so that nothing below it is ever read.
constexpr int deepest_level = 16;

/// Of a file without aliases the texts have no more.
constexpr std::size_t most_text_bytes = largest_config_bytes;

/// Counts the values of a document and the bytes of their texts, each alias as what it stands for,
/// up to the bounds: a few lines of aliases of aliases can stand for more than any memory holds,
/// and one of itself for no end.
class ValueCounter {
 public:
  explicit ValueCounter(const std::filesystem::path& path) : path_(path) {}

  /// Raises std::runtime_error beyond a bound.
  void count(const YAML::Node& node, int level = 0) {
    if (++values_ > most_config_values) fail(most_config_values, "values");
    if (node.IsScalar()) bytes_ += node.Scalar().size();
    if (bytes_ > most_text_bytes) fail(most_text_bytes, "bytes in its values");
    if (level == deepest_level || (!node.IsSequence() && !node.IsMap())) return;
    for (const auto& entry : node) {
      count(node.IsMap() ? entry.second : YAML::Node(entry), level + 1);
    }
  }

 private:
  [[noreturn]] void fail(std::size_t most, const std::string& what) const {
    throw std::runtime_error(path_.string() + " has more than " + std::to_string(most) + ' ' +
                             what);
  }

  const std::filesystem::path& path_;
  std::size_t values_ = 0;
  std::size_t bytes_ = 0;
};

void require_bounded(const std::string& text, const std::filesystem::path& path) {
  if (text.find('*') == std::string::npos) return;  // no alias: as many values as it has bytes
  YAML::Node root;
  try {
    root = YAML::Load(text);
  } catch (const YAML::Exception&) {
    return;  // the load tells it
  }
  ValueCounter(path).count(root);
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
