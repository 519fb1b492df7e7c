// The way into the ledger.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "connection.h"

namespace zunol_monitoring::postgres_ledger {

/// The tables and functions of the ledger, as an SQL script.
extern const char* const schema_script;

struct Event {
  std::string_view id;
  std::string_view bytes;
};

// What ledger.append says of an event.
inline constexpr std::string_view verdict_added = "added";
inline constexpr std::string_view verdict_known = "known";

/// The end of a block's chain.
struct Head {
  std::string block;
  std::string sequence;
  std::string hash;  ///< in hexadecimal
};

/// The head as one line of JSON, which `verify --anchor` reads.
std::string anchor_line(const Head& head);

struct Appended {
  std::vector<std::string> verdicts;  ///< one for each event
  Head head;
};

/// Appends the events to the block; they are in the ledger, and with its standby, on return. Raises
/// what Connection::commit raises; nothing is appended then, or it is not known.
Appended append_events(Connection& connection, const std::string& block,
                       const std::vector<Event>& events);

/// Whether the text can be the name of a block: UTF-8, not empty, and no longer than the ledger
/// takes.
bool can_be_id(const std::string& text);

/// Why an event with this verdict, which is neither added nor known, cannot be in the block.
std::string explain_verdict(std::string_view verdict, std::string_view block, std::string_view id);

}  // namespace zunol_monitoring::postgres_ledger
