// Where an event is besides the queue, as far as it can be known from here.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "ctl/sqlite_ledger.h"
#include "zunol_monitoring/config/config.h"
#include "zunol_monitoring/store/sync_queue.h"

namespace zunol_monitoring::ctl {

/// A file that tells how far an event has come.
struct Trace {
  std::filesystem::path path;
  bool there = false;
};

struct Whereabouts {
  Trace marker;
  std::optional<std::string> marked_id;  ///< the id in the marker, where that can be read
  std::optional<Trace> spool_file;
  std::optional<std::filesystem::path> ledger;
  std::optional<LedgerRow> ledger_row;
  std::string ledger_error;
};

/// Of the item, event_id and created_at count.
Whereabouts whereabouts_of(const Config& config, const VornSyncItem& item);

}  // namespace zunol_monitoring::ctl
