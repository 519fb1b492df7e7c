// The messages of the rules about a single key, for those who judge and those who declare them: the
// name of the key, a claim about it, and sometimes a reason.
#pragma once

#include <string>

#include "config/keys/key_text.h"

namespace zunol_monitoring {

/// The three with a blank between them; none behind the claim where the reason is empty.
std::string rule_message(const char* name, const std::string& claim, const char* reason);

/// "must be a", "must be a or b", "must be a, b or c".
std::string one_of_claim(Words words);
std::string exactly_claim(int wanted);
std::string between_claim(int low, int high);
inline constexpr const char* positive_claim = "must be positive";
inline constexpr const char* non_negative_claim = "must be non-negative";
inline constexpr const char* required_claim = "is required";
inline constexpr const char* not_empty_claim = "must not be empty";
inline constexpr const char* positive_duration_claim = "must be a positive duration";
inline constexpr const char* time_of_day_claim = "must use HH:MM format";
inline constexpr const char* https_claim = "must use https://";

}  // namespace zunol_monitoring
