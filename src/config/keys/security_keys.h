// The keys of security_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/security_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SecurityConfig> auto& security) {
  v.field("fail_on_loose_secrets", security.fail_on_loose_secrets,
          "Whether files with credentials that others may read break a rule");
}

}  // namespace zunol_monitoring
