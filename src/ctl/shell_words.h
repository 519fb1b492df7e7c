// The words of a shell text, for those who look at what it names.
#pragma once

#include <string>
#include <vector>

namespace zunol_monitoring::ctl {

/// The words without their quotes. Nothing is expanded.
std::vector<std::string> shell_words(const std::string& text);

}  // namespace zunol_monitoring::ctl
