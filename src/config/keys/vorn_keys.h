// The keys of vorn_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/vorn_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<VornConfig> auto& vorn) {
  v.field("enabled", vorn.enabled);
  v.field("relay_url", vorn.relay_url);
  v.field("storage_ws_url", vorn.storage_ws_url);
  v.field("wallet_file", vorn.wallet_file);
  v.field("history_block_id", vorn.history_block_id);
  v.field("append_mode", vorn.append_mode);
  v.duration("flush_interval", vorn.flush_interval);
  v.field("queue_only", vorn.queue_only);
  v.field("transport", vorn.transport);
  v.field("export_dir", vorn.export_dir);
  v.field("append_command", vorn.append_command);
  v.field("bridge_command", vorn.bridge_command);
  v.field("max_batch", vorn.max_batch);
}

}  // namespace zunol_monitoring
