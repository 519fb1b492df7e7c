// Section summary.
#pragma once

#include <string>

namespace zunol_monitoring {

struct SummaryConfig {
  bool enabled = true;
  std::string mode = "compact";  ///< "compact", "normal" or "detailed"
  friend bool operator==(const SummaryConfig&, const SummaryConfig&) = default;
};

}  // namespace zunol_monitoring
