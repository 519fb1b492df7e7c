// Whether the history that sqlite-ledger keeps is the one that was appended.
//
// The backend chains its rows: the hash of a row is sha3-256 over the hash before it, the row's
// number, block, id and event. A changed, missing or added row breaks the chain; rows cut off at
// the end show by the number that the ledger would give next. Who rewrites all of it, the numbers
// and the hashes too, is told by an anchor alone: a head of the chain that was kept elsewhere.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace zunol_monitoring::ctl {

/// A link of the chain, as text its number, ":" and its hash.
struct ChainLink {
  std::int64_t sequence = 0;
  std::string hash;
};
/// Nothing where the text is none.
std::optional<ChainLink> chain_link_of(const std::string& text);

struct LedgerProof {
  std::int64_t rows = 0;
  std::int64_t unlinked = 0;  ///< rows from before the chain, of which nothing is known
  std::string head;           ///< the last link, as text; "" where there is none
  std::string fault;          ///< the first one, or ""
};

/// Walks the whole chain with the program sqlite3, some rows at a time, so that appends are not
/// held up. Raises std::runtime_error with "cannot verify ", the path, ": " and the program's text,
/// and what LedgerView raises.
LedgerProof prove_ledger(const std::filesystem::path& ledger,
                         const std::optional<ChainLink>& anchor);

}  // namespace zunol_monitoring::ctl
