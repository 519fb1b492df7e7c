#include "config/rule_messages.h"

namespace zunol_monitoring {

std::string rule_message(const char* name, const std::string& claim, const char* reason) {
  std::string message = std::string(name) + ' ' + claim;
  if (*reason != '\0') (message += ' ') += reason;
  return message;
}

std::string one_of_claim(Words words) {
  std::string claim = "must be ";
  for (const char* const& word : words) {
    if (&word != words.begin()) claim += &word + 1 == words.end() ? " or " : ", ";
    claim += word;
  }
  return claim;
}

std::string exactly_claim(int wanted) { return "must be " + std::to_string(wanted); }

std::string between_claim(int low, int high) {
  return "must be between " + std::to_string(low) + " and " + std::to_string(high);
}

}  // namespace zunol_monitoring
