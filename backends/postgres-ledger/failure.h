// How postgres-ledger ends.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace zunol_monitoring::postgres_ledger {

/// The exit statuses of the contract with the append command, which all commands here keep.
enum Status : int {
  done = 0,
  found_fault = 1,     ///< the ledger is not as it was
  wrong_usage = 64,    ///< or a missing variable
  never = 65,          ///< the ledger cannot take this event, now or later
  no_event_file = 66,  ///< the event file cannot be read
  try_again = 75,      ///< anything else
};

/// A failure that ends what is being done with a status.
struct Failure : std::runtime_error {
  Failure(Status end, const std::string& message) : std::runtime_error(message), status(end) {}
  Status status;
};

/// The text with a blank for each control character, so that it stays on its line.
std::string one_line(std::string_view text);

/// Writes "postgres-ledger: " and the message to standard error as exactly one line.
void print_error(std::string_view message);

}  // namespace zunol_monitoring::postgres_ledger
