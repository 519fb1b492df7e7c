// The keys of updates_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/updates_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UpdatesConfig> auto& updates) {
  v.field("enabled", updates.enabled, "Whether the agent looks for new versions of itself");
  v.field("auto_install", updates.auto_install,
          "Whether a new version is installed without asking");
  v.field("base_url", updates.base_url,
          "Address from which versions are fetched, beginning with https://");
  v.field("channel", updates.channel, "Which versions are taken");
}

}  // namespace zunol_monitoring
