// Section updates: where the agent's packages come from.
#pragma once

#include <string>

#include "config/visit.h"

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UpdatesConfig> auto& updates) {
  v.field("enabled", updates.enabled);
  v.field("auto_install", updates.auto_install);
  v.field("base_url", updates.base_url);
  v.field("channel", updates.channel);
}

}  // namespace zunol_monitoring
