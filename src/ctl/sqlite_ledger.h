// The ledger of the backend sqlite-ledger, for those who ask what is in it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "store/store_view.h"

namespace zunol_monitoring::ctl {

struct SqliteLedger {
  std::string program;         ///< the backend
  std::filesystem::path file;  ///< its ledger
};
/// What a backend text names: a word that ends in "sqlite-ledger" and the one behind it, quotes
/// taken off, also in a text that is quoted for another shell; nothing where there is none.
std::optional<SqliteLedger> sqlite_ledger_of(const std::string& backend);

struct LedgerRow {
  std::int64_t sequence = 0;
  std::string block;
  std::string event_id;
  std::string event;
  std::string appended_at;
};

/// The event in the ledger, if it is there. Raises StoreError with SQLite's text, and
/// what database_is_there raises.
std::optional<LedgerRow> find_in_ledger(const std::filesystem::path& ledger,
                                        const std::string& block, const std::string& event_id);

/// A row of a listing.
struct LedgerEntry {
  std::int64_t sequence = 0;
  std::string block;
  std::string event_id;
  std::string type;  ///< "" where the event is no JSON
  std::string level;
  std::string appended_at;
  std::int64_t bytes = 0;
};

/// Looks into one ledger. The operations raise std::runtime_error with the path, ": " and SQLite's
/// text.
class LedgerView {
 public:
  /// Raises also "no ledger at " and the path, the path and ": it has no ledger in it", and what
  /// database_is_there raises.
  explicit LedgerView(const std::filesystem::path& ledger);

  /// The newest rows with a sequence below `before`, of the block or, for "", of all; at most
  /// `limit`. Texts are cut to 1,000 characters.
  std::vector<LedgerEntry> entries(const std::string& block, std::int64_t before, int limit);
  std::int64_t count(const std::string& block);
  /// The rows with this id, one a block.
  std::vector<LedgerRow> rows_of(const std::string& event_id);
  /// What is in the ledger in place of an event whose file had this payload: "" the event,
  /// "another event", or "nothing".
  std::string differs(const std::string& block, const std::string& event_id,
                      const std::string& payload);
  bool has_chain();

 private:
  template <class Read>
  auto look(Read read);

  std::filesystem::path file_;
  StoreView view_;
};

}  // namespace zunol_monitoring::ctl
