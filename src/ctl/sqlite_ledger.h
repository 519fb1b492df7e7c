// The ledger of the backend sqlite-ledger, for those who ask what is in it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zunol_monitoring::ctl {

/// The ledger that a backend text names: the word behind one that ends in "sqlite-ledger", quotes
/// taken off; nothing where there is none.
std::optional<std::filesystem::path> ledger_of(const std::string& bridge_command);

struct LedgerRow {
  std::int64_t sequence = 0;
  std::string event;
  std::string appended_at;
};

/// The event in the ledger, if it is there. Raises StoreError with SQLite's text.
std::optional<LedgerRow> find_in_ledger(const std::filesystem::path& ledger,
                                        const std::string& block, const std::string& event_id);

}  // namespace zunol_monitoring::ctl
