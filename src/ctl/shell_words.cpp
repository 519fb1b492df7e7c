#include "ctl/shell_words.h"

namespace zunol_monitoring::ctl {

std::vector<std::string> shell_words(const std::string& text) {
  const std::string ends = " \t\n;&|()<>";
  std::vector<std::string> words(1);
  char quote = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == quote) {
      quote = 0;
    } else if (quote == 0 && (c == '\'' || c == '"')) {
      quote = c;
    } else if (quote == 0 && ends.find(c) != std::string::npos) {
      if (!words.back().empty()) words.emplace_back();
    } else if (quote != '\'' && c == '\\' && i + 1 < text.size()) {
      words.back() += text[++i];
    } else {
      words.back() += c;
    }
  }
  if (words.back().empty()) words.pop_back();
  return words;
}

}  // namespace zunol_monitoring::ctl
