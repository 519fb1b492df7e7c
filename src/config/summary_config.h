// Section summary.
#pragma once

#include <string>

#include "config/visit.h"

namespace zunol_monitoring {

struct SummaryConfig {
  bool enabled = true;
  std::string mode = "compact";  ///< "compact", "normal" or "detailed"
  friend bool operator==(const SummaryConfig&, const SummaryConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SummaryConfig> auto& summary) {
  v.field("enabled", summary.enabled);
  v.field("mode", summary.mode);
}

}  // namespace zunol_monitoring
