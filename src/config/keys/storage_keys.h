// The keys of storage_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/storage_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<StorageConfig> auto& storage) {
  v.field("local_db", storage.local_db);
  v.field("max_local_incidents", storage.max_local_incidents);
  v.field("max_local_bytes", storage.max_local_bytes);
}

}  // namespace zunol_monitoring
