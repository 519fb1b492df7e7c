#include "ctl/sqlite_ledger.h"

#include <stdexcept>

#include "ctl/open_store.h"
#include "ctl/shell_words.h"
#include "history/event_file.h"
#include "store/statement.h"
#include "store/store_view.h"

namespace zunol_monitoring::ctl {

std::optional<SqliteLedger> sqlite_ledger_of(const std::string& backend) {
  const std::vector<std::string> words = shell_words(backend);
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i].ends_with("sqlite-ledger") && i + 1 < words.size()) {
      return SqliteLedger{words[i], words[i + 1]};
    }
    if (words[i] == backend || words[i].find_first_of(" \t\n") == std::string::npos) continue;
    if (auto inner = sqlite_ledger_of(words[i])) return inner;
  }
  return std::nullopt;
}

namespace {

constexpr const char* select_row =
    "SELECT sequence, history_block_id, event_id, event, appended_at FROM ledger WHERE ";

LedgerRow row_of(const Statement& row) {
  return {.sequence = row.integer64(0),
          .block = row.text(1),
          .event_id = row.text(2),
          .event = row.text(3),
          .appended_at = row.text(4)};
}

[[noreturn]] void fail_at(const std::filesystem::path& ledger, const StoreError& error) {
  throw std::runtime_error(ledger.string() + ": " + error.what());
}

StoreView view_of(const std::filesystem::path& ledger) {
  if (!database_is_there(ledger)) {
    throw std::runtime_error("no ledger at " + ledger.string());
  }
  try {
    return StoreView(ledger);
  } catch (const StoreError& error) {
    fail_at(ledger, error);
  }
}

/// What has another's tables, or a view in place of the table, is no ledger.
bool has_table(sqlite3* db, const std::string& name) {
  Statement table(db, "SELECT 1 FROM sqlite_schema WHERE type='table' AND name=?");
  return table.bind(name).next_or_raise();
}

}  // namespace

std::optional<LedgerRow> find_in_ledger(const std::filesystem::path& ledger,
                                        const std::string& block, const std::string& event_id) {
  if (!database_is_there(ledger)) return std::nullopt;
  return StoreView(ledger).look([&](sqlite3* db) -> std::optional<LedgerRow> {
    Statement row(db, std::string(select_row) + "history_block_id=? AND event_id=?");
    if (!row.bind(block, event_id).next_or_raise()) return std::nullopt;
    return row_of(row);
  });
}

template <class Read>
auto LedgerView::look(Read read) {
  try {
    return view_.look(read);
  } catch (const StoreError& error) {
    fail_at(file_, error);
  }
}

LedgerView::LedgerView(const std::filesystem::path& ledger)
    : file_(ledger), view_(view_of(ledger)) {
  if (look([](sqlite3* db) { return has_table(db, "ledger"); })) return;
  throw std::runtime_error(file_.string() + ": it has no ledger in it");
}

std::vector<LedgerEntry> LedgerView::entries(const std::string& block, std::int64_t before,
                                             int limit) {
  constexpr int longest_text = 1000;
  return look([&](sqlite3* db) {
    Statement row(db,
                  "SELECT sequence, substr(history_block_id, 1, ?1), substr(event_id, 1, ?1), "
                  "iif(json_valid(event), substr(json_extract(event, '$.type'), 1, ?1), ''), "
                  "iif(json_valid(event), substr(json_extract(event, '$.level'), 1, ?1), ''), "
                  "appended_at, length(CAST(event AS BLOB)) FROM ledger WHERE sequence<?2 AND "
                  "(?3='' OR history_block_id=?3) ORDER BY sequence DESC LIMIT ?4");
    std::vector<LedgerEntry> found;
    for (row.bind(longest_text, before, block, limit); row.next_or_raise();) {
      found.push_back({.sequence = row.integer64(0),
                       .block = row.text(1),
                       .event_id = row.text(2),
                       .type = row.text(3),
                       .level = row.text(4),
                       .appended_at = row.text(5),
                       .bytes = row.integer64(6)});
    }
    return found;
  });
}

std::int64_t LedgerView::count(const std::string& block) {
  return look([&](sqlite3* db) {
    Statement rows(db, "SELECT count(*) FROM ledger WHERE ?1='' OR history_block_id=?1");
    return rows.bind(block).next_or_raise() ? rows.integer64(0) : 0;
  });
}

std::vector<LedgerRow> LedgerView::rows_of(const std::string& event_id) {
  return look([&](sqlite3* db) {
    // The ids stand in an index, which is far smaller than the events.
    Statement row(db, std::string(select_row) +
                          "sequence IN (SELECT sequence FROM ledger WHERE event_id=?) ORDER BY "
                          "sequence");
    std::vector<LedgerRow> found;
    for (row.bind(event_id); row.next_or_raise();) found.push_back(row_of(row));
    return found;
  });
}

std::string LedgerView::differs(const std::string& block, const std::string& event_id,
                                const std::string& payload) {
  return look([&](sqlite3* db) -> std::string {
    Statement row(db, "SELECT event=? FROM ledger WHERE history_block_id=? AND event_id=?");
    if (!row.bind(event_file_text(payload), block, event_id).next_or_raise()) return "nothing";
    return row.integer(0) == 1 ? "" : "another event";
  });
}

bool LedgerView::has_chain() {
  return look([](sqlite3* db) { return has_table(db, "ledger_chain"); });
}

}  // namespace zunol_monitoring::ctl
