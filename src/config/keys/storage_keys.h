// The keys of storage_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/storage_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<StorageConfig> auto& storage) {
  v.field("local_db", storage.local_db,
          "The SQLite database; its directory also holds the markers of appended events");
  v.field("max_local_incidents", storage.max_local_incidents,
          "Resolved incidents that are kept at most; open ones never count");
  v.field("max_local_bytes", storage.max_local_bytes,
          "Bytes that the database may take before old rows are pruned; 0 is no limit");
}

}  // namespace zunol_monitoring
