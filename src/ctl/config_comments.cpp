#include "ctl/config_comments.h"

#include <map>
#include <set>
#include <sstream>

namespace zunol_monitoring::ctl {
namespace {

constexpr std::size_t widest_line = 100;

std::string comment(const std::string& meaning, std::size_t indent) {
  const std::string begin = std::string(indent, ' ') + '#';
  std::string text;
  std::string line = begin;
  std::istringstream words(meaning + '.');
  for (std::string word; words >> word;) {
    if (line.size() + 1 + word.size() > widest_line) {
      text += line + '\n';
      line = begin;
    }
    line += ' ' + word;
  }
  return text + line + '\n';
}

}  // namespace

std::string with_meanings(const std::string& yaml, const std::vector<ConfigKey>& keys) {
  std::map<std::string, std::string> meanings;
  for_each_key(keys, [&](const ConfigKey& key) { meanings[key.path] = key.meaning; });

  std::string text;
  std::map<std::size_t, std::string> open;  // the path of the key above, by its indentation
  std::set<std::string> told;
  std::istringstream lines(yaml);
  for (std::string line; std::getline(lines, line); text += line + '\n') {
    const std::size_t dash = std::min(line.find_first_not_of(' '), line.size());
    const bool begins_item = line.compare(dash, 2, "- ") == 0;
    const std::size_t indent = begins_item ? dash + 2 : dash;
    const std::size_t end = line.find(':', indent);
    if (end == std::string::npos || line[indent] == '"') continue;  // empty, or an item of texts
    open.erase(open.lower_bound(begins_item ? dash : indent), open.end());
    std::string path = line.substr(indent, end - indent);
    if (!open.empty()) {
      const auto& [at, block] = *open.rbegin();
      path = block + (indent - at > 2 ? "[]." : ".") + path;
    }
    open[indent] = path;
    const auto meaning = meanings.find(path);
    if (meaning != meanings.end() && told.insert(path).second)
      text += comment(meaning->second, dash);
  }
  return text;
}

}  // namespace zunol_monitoring::ctl
