// The keys of updates_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/updates_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UpdatesConfig> auto& updates) {
  v.field("enabled", updates.enabled);
  v.field("auto_install", updates.auto_install);
  v.field("base_url", updates.base_url);
  v.field("channel", updates.channel);
}

}  // namespace zunol_monitoring
