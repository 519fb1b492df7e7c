// Section security.
#pragma once

#include "config/visit.h"

namespace zunol_monitoring {

struct SecurityConfig {
  bool fail_on_loose_secrets =
      false;  ///< true: the rule book also judges the modes of secret files
  friend bool operator==(const SecurityConfig&, const SecurityConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SecurityConfig> auto& security) {
  v.field("fail_on_loose_secrets", security.fail_on_loose_secrets);
}

}  // namespace zunol_monitoring
