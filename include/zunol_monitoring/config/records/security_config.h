// Section security.
#pragma once

namespace zunol_monitoring {

struct SecurityConfig {
  bool fail_on_loose_secrets =
      false;  ///< true: the rule book also judges the modes of secret files
  friend bool operator==(const SecurityConfig&, const SecurityConfig&) = default;
};

}  // namespace zunol_monitoring
