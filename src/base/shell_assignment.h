// How the environment of a child that the shell runs is passed.
#pragma once

#include <string>
#include <string_view>

#include "zunol_monitoring/base/command_runner.h"

namespace zunol_monitoring {

/// The assignment `name`='value' and a blank, for the front of a shell line. The shell gives it to
/// the first command of the line behind it.
inline std::string shell_assignment(const char* name, std::string_view value) {
  return std::string(name) + '=' + shell_quote(value) + ' ';
}

}  // namespace zunol_monitoring
