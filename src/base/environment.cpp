#include "zunol_monitoring/base/environment.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "base/lower_case.h"

namespace zunol_monitoring {
namespace {

std::string strip(const std::string& text) {
  constexpr const char* white_space = " \t\n\v\f\r";
  const std::size_t begin = text.find_first_not_of(white_space);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(white_space) - begin + 1);
}

}  // namespace

std::string env_or_default(const char* name, const std::string& fallback) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : fallback;
}

bool env_bool(const char* name, bool fallback) {
  const std::string value = lower_case(env_or_default(name, ""));
  if (value == "1" || value == "true" || value == "yes" || value == "on") return true;
  if (value == "0" || value == "false" || value == "no" || value == "off") return false;
  return fallback;
}

int env_int(const char* name, int fallback) {
  const std::string value = env_or_default(name, "");
  if (value.empty()) return fallback;  // the usual case, without the cost of an exception
  try {
    return std::stoi(value);
  } catch (const std::logic_error&) {  // no number, or one out of range: the value is ignored
    return fallback;
  }
}

void env_list(const char* name, std::vector<std::string>& list) {
  const std::string value = env_or_default(name, "");
  if (value.empty()) return;
  list.clear();
  for (std::size_t begin = 0; begin <= value.size();) {
    const std::size_t end = std::min(value.find(',', begin), value.size());
    const std::string piece = strip(value.substr(begin, end - begin));
    if (!piece.empty()) list.push_back(piece);
    begin = end + 1;
  }
}

}  // namespace zunol_monitoring
