#include "ctl/sqlite_ledger.h"

#include <sstream>

#include "ctl/open_store.h"
#include "store/statement.h"
#include "store/store_view.h"

namespace zunol_monitoring::ctl {
namespace {

std::string without_quotes(const std::string& word) {
  const bool quoted = word.size() > 1 && (word.front() == '\'' || word.front() == '"') &&
                      word.back() == word.front();
  return quoted ? word.substr(1, word.size() - 2) : word;
}

}  // namespace

std::optional<SqliteLedger> sqlite_ledger_of(const std::string& backend) {
  std::istringstream words(backend);
  for (std::string word; words >> word;) {
    std::string file;
    if (without_quotes(word).ends_with("sqlite-ledger") && words >> file) {
      return SqliteLedger{without_quotes(word), without_quotes(file)};
    }
  }
  return std::nullopt;
}

std::optional<LedgerRow> find_in_ledger(const std::filesystem::path& ledger,
                                        const std::string& block, const std::string& event_id) {
  if (!database_is_there(ledger)) return std::nullopt;
  return StoreView(ledger).look([&](sqlite3* db) -> std::optional<LedgerRow> {
    Statement row(db,
                  "SELECT sequence, event, appended_at FROM ledger WHERE history_block_id=? AND "
                  "event_id=?");
    if (!row.bind(block, event_id).next_or_raise()) return std::nullopt;
    return LedgerRow{
        .sequence = row.integer64(0), .event = row.text(1), .appended_at = row.text(2)};
  });
}

}  // namespace zunol_monitoring::ctl
