// Section updates: where the agent's packages come from.
#pragma once

#include <string>

namespace zunol_monitoring {

/// The package endpoint. Its host is a reserved name that never resolves: the owner of an
/// installation names the real one.
inline constexpr const char* default_updates_base_url =
    "https://packages.zunol.example/agents/monitoring";

struct UpdatesConfig {
  bool enabled = true;
  bool auto_install = true;
  std::string base_url = default_updates_base_url;
  std::string channel = "latest";  ///< "latest" or "stable"
  friend bool operator==(const UpdatesConfig&, const UpdatesConfig&) = default;
};

}  // namespace zunol_monitoring
