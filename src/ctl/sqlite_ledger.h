// The ledger of the backend sqlite-ledger, for those who ask what is in it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zunol_monitoring::ctl {

struct SqliteLedger {
  std::string program;         ///< the backend
  std::filesystem::path file;  ///< its ledger
};
/// What a backend text names: a word that ends in "sqlite-ledger" and the one behind it, quotes
/// taken off; nothing where there is none.
std::optional<SqliteLedger> sqlite_ledger_of(const std::string& backend);

struct LedgerRow {
  std::int64_t sequence = 0;
  std::string event;
  std::string appended_at;
};

/// The event in the ledger, if it is there. Raises StoreError with SQLite's text, and
/// what database_is_there raises.
std::optional<LedgerRow> find_in_ledger(const std::filesystem::path& ledger,
                                        const std::string& block, const std::string& event_id);

}  // namespace zunol_monitoring::ctl
