// The agent's journal, a record of what the agent did: the table agent_journal. It only grows,
// until compaction cuts it to its newest rows.
#pragma once

#include <string>

namespace zunol_monitoring {

/// One row. The texts but created_at are the agent's own.
struct JournalEntry {
  int id = 0;  ///< in the order of writing
  std::string category;
  std::string action;
  std::string status;
  std::string message;
  std::string details;
  std::string created_at;
  friend bool operator==(const JournalEntry&, const JournalEntry&) = default;
};

/// The most entries that one listing of the journal returns.
inline constexpr int max_journal_listing = 1000;

}  // namespace zunol_monitoring
