// A page that is shown anew until its reader has seen enough.
#pragma once

#include <functional>
#include <string>

namespace zunol_monitoring::ctl {

/// Shows what `page` gives on the terminal, every two seconds, until a key is pressed or a signal
/// ends it. Where standard input or output is no terminal it is printed once.
void watch(const std::function<std::string()>& page);

}  // namespace zunol_monitoring::ctl
