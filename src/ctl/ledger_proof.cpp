#include "ctl/ledger_proof.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "base/limited_command.h"
#include "ctl/sqlite_ledger.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

/// What the backend makes of the row `l` and of `previous`, the hash before it.
constexpr const char* hash_of_row =
    "lower(hex(sha3(ifnull(previous, '') || l.sequence || ' ' || "
    "length(CAST(l.history_block_id AS BLOB)) || ' ' || length(CAST(l.event_id AS BLOB)) || ' ' || "
    "l.history_block_id || l.event_id || l.event, 256)))";

/// The rows with numbers above `behind`, ten thousand at most, in one row: how many, the last
/// of them, how many have no hash, and the first of each kind of fault.
std::string page_query(const std::string& behind) {
  return "SELECT count(*) AS rows, max(sequence) AS last, sum(hash IS NULL) AS unlinked, "
         "min(iif(sequence<1, sequence, NULL)) AS early, "
         "min(iif(sequence<>ifnull(before, 0)+1, sequence, NULL)) AS gap, "
         "min(iif(hash IS NULL AND previous IS NOT NULL, sequence, NULL)) AS hole, "
         "min(iif(hash IS NOT wanted AND hash IS NOT NULL, sequence, NULL)) AS changed "
         "FROM (SELECT l.sequence, before, hash, previous, " +
         std::string(hash_of_row) +
         " AS wanted FROM (SELECT *, "
         "(SELECT max(sequence) FROM ledger AS e WHERE e.sequence<r.sequence) AS before, "
         "(SELECT hash FROM ledger_chain AS c WHERE c.sequence=r.sequence) AS hash, "
         "(SELECT hash FROM ledger_chain AS c WHERE c.sequence<r.sequence ORDER BY c.sequence DESC "
         "LIMIT 1) AS previous FROM ledger AS r WHERE r.sequence>" +
         behind + " ORDER BY r.sequence LIMIT 10000) AS l)";
}

/// The ends of ledger and chain, and the last link of the rows up to `verified`: what is appended
/// meanwhile is not proven.
std::string end_query(std::int64_t verified, const std::optional<ChainLink>& anchor) {
  return "SELECT max(sequence) AS chained, "
         "(SELECT max(seq) FROM sqlite_sequence WHERE name='ledger') AS given, "
         "(SELECT max(sequence) FROM ledger) AS last, "
         "(SELECT sequence || ':' || hash FROM ledger_chain WHERE sequence<=" +
         std::to_string(verified) +
         " ORDER BY sequence DESC LIMIT 1) AS head, "
         "(SELECT hash FROM ledger_chain WHERE sequence=" +
         std::to_string(anchor ? anchor->sequence : 0) + ") AS anchored FROM ledger_chain";
}

/// The one row that the program sqlite3 answers. Its safe mode keeps what others have written into
/// the ledger's schema from running programs and reading files.
json ask(const std::filesystem::path& ledger, const std::string& query) {
  const std::string file = std::filesystem::absolute(ledger).string();
  const auto answer = run_limited_command(
      "exec sqlite3 -batch -safe -readonly -json -init /dev/null -cmd '.timeout 60000' " +
          shell_quote(file) + ' ' + shell_quote(query),
      std::chrono::milliseconds(0));
  const json rows = json::parse(answer->output, nullptr, false);
  if (answer->exit_code != 0 || !rows.is_array() || rows.size() != 1) {
    throw std::runtime_error("cannot verify " + ledger.string() + ": " + answer->output);
  }
  return rows.front();
}

std::int64_t number(const json& row, const char* name) {
  return row.at(name).is_number_integer() ? row.at(name).get<std::int64_t>() : 0;
}

std::string text(const json& row, const char* name) {
  return row.at(name).is_string() ? row.at(name).get<std::string>() : "";
}

/// The fault of the page that comes first in the ledger.
std::string first_fault(const json& page) {
  struct FaultKind {
    const char* name;
    const char* before;
    const char* behind;
  };
  std::optional<std::int64_t> first;
  std::string fault;
  for (const FaultKind& kind : {FaultKind{"early", "row ", " was put before the first"},
                                FaultKind{"gap", "rows are missing before row ", ""},
                                FaultKind{"hole", "the chain leaves out row ", ""},
                                FaultKind{"changed", "row ", " or its hash was changed"}}) {
    const std::int64_t sequence = number(page, kind.name);
    if (!page.at(kind.name).is_number() || (first && *first <= sequence)) continue;
    first = sequence;
    fault = kind.before + std::to_string(sequence) + kind.behind;
  }
  return fault;
}

std::string fault_of_end(const json& end, const std::optional<ChainLink>& anchor) {
  const std::int64_t last = number(end, "last");
  const std::int64_t given = std::max(number(end, "chained"), number(end, "given"));
  if (given > last) {
    return "the end is missing: row " + std::to_string(given) + " was appended, and the last is " +
           std::to_string(last);
  }
  if (!anchor || text(end, "anchored") == anchor->hash) return "";
  const std::string row = "row " + std::to_string(anchor->sequence);
  return row + (text(end, "anchored").empty() ? ", the anchor, is missing"
                                              : " is not the one of the anchor");
}

}  // namespace

std::optional<ChainLink> chain_link_of(const std::string& text) {
  constexpr std::size_t most_digits = 18;
  constexpr std::size_t hash_digits = 64;
  const std::size_t colon = text.find(':');
  if (colon == 0 || colon > most_digits || text.size() != colon + 1 + hash_digits ||
      text.find_first_not_of("0123456789") != colon ||
      text.find_first_not_of("0123456789abcdef", colon + 1) != std::string::npos) {
    return std::nullopt;
  }
  return ChainLink{std::stoll(text), text.substr(colon + 1)};
}

LedgerProof prove_ledger(const std::filesystem::path& ledger,
                         const std::optional<ChainLink>& anchor) {
  if (!LedgerView(ledger).has_chain()) {
    throw std::runtime_error("cannot verify " + ledger.string() +
                             ": it has no chain yet, which the next append begins");
  }
  LedgerProof proof;
  std::int64_t verified = 0;
  constexpr const char* before_all = "-1e19";  // below what a row's number can be
  for (json page = ask(ledger, page_query(before_all)); number(page, "rows") > 0;
       page = ask(ledger, page_query(std::to_string(verified)))) {
    proof.rows += number(page, "rows");
    proof.unlinked += number(page, "unlinked");
    verified = number(page, "last");
    if (proof.fault.empty()) proof.fault = first_fault(page);
  }
  const json end = ask(ledger, end_query(verified, anchor));
  proof.head = text(end, "head");
  if (proof.fault.empty() && proof.rows > 0 && proof.head.empty()) {
    proof.fault = "no row is in the chain, so that nothing is proven";
  }
  if (proof.fault.empty()) proof.fault = fault_of_end(end, anchor);
  return proof;
}

}  // namespace zunol_monitoring::ctl
