// Letter case without a locale.
#pragma once

#include <string>

namespace zunol_monitoring {

/// The text with its ASCII capitals made small, in every locale; other bytes stay.
std::string lower_case(std::string text);

}  // namespace zunol_monitoring
