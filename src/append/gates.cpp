#include "append/gates.h"

#include "zunol_monitoring/base/environment.h"

namespace zunol_monitoring {

std::optional<std::string> closed_append_gate(const VornConfig& vorn) {
  if (!vorn.enabled) return "vorn.enabled=false";
  if (vorn.history_block_id.empty()) {
    return "vorn.history_block_id is required for production append";
  }
  if (vorn.wallet_file.empty()) return "vorn.wallet_file is required for production append";
  return std::nullopt;
}

std::string append_backend(const VornConfig& vorn) {
  return env_or_default("ZUNOL_VORN_APPEND_BACKEND", vorn.bridge_command);
}

}  // namespace zunol_monitoring
