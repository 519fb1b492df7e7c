// Section storage: the local store.
#pragma once

#include <cstdint>
#include <filesystem>

namespace zunol_monitoring {

struct StorageConfig {
  /// The database. Its parent directory is also the state directory of the append command.
  std::filesystem::path local_db = "/var/lib/zunol/monitoring-agent/agent.db";
  int max_local_incidents = 10;              ///< resolved incidents kept; open ones never count
  std::uint64_t max_local_bytes = 10485760;  ///< 10 MiB; database, -wal and -shm; 0 is no limit
  friend bool operator==(const StorageConfig&, const StorageConfig&) = default;
};

}  // namespace zunol_monitoring
