// A connection to the server of the ledger. Which server, as whom, and with what encryption is
// libpq's own business: a service, or its environment.
#pragma once

#include <libpq-fe.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zunol_monitoring::postgres_ledger {

/// What one event, or one batch, may take: $ZUNOL_LEDGER_TIME_LIMIT seconds, or 60. The limit is
/// the client's, as the server's own ones end before a commit waits for its standby.
std::chrono::seconds time_limit();

using Rows = std::unique_ptr<PGresult, decltype(&PQclear)>;
inline std::string_view field(const PGresult* rows, int row, int column) {
  return {PQgetvalue(rows, row, column), static_cast<std::size_t>(PQgetlength(rows, row, column))};
}

/// A value in the server's binary form.
struct Parameter {
  Oid type;
  std::string_view bytes;
};

/// Every failure is a Failure: with the status never for what the server says of the data (SQLSTATE
/// classes 22 and 54), else with try_again.
class Connection {
 public:
  /// Waits for each address of the server for 10 seconds, unless the service or PGCONNECT_TIMEOUT
  /// say otherwise. The password file is $PGPASSFILE, or the wallet file of the agent.
  explicit Connection(const std::string& service);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Runs the statement in a transaction of its own, under read committed, in one round trip within
  /// time_limit(). The rows count only when the server has committed and has said nothing else: a
  /// notice can mean that a commit has not reached the standby.
  Rows commit(const char* statement, const std::vector<Parameter>& parameters);

  /// Runs the statement with texts, of which a null is NULL, and calls take for each row; only one
  /// row at a time is in memory. There is no time limit.
  void for_each_row(const char* statement, const std::vector<const char*>& texts,
                    const std::function<void(const PGresult*)>& take);

  /// Runs a script.
  void run(const char* script);

  /// Whether another statement can run here after a failure.
  bool usable() const { return !timed_out_ && PQstatus(connection_.get()) == CONNECTION_OK; }

  /// Whether the last call was not done within its time.
  bool timed_out() const { return timed_out_; }

 private:
  void send(const char* statement, const std::vector<Parameter>& parameters);
  Rows receive();
  void wait_for_server(std::chrono::steady_clock::time_point end);
  [[noreturn]] void fail_of_connection() const;

  std::unique_ptr<PGconn, decltype(&PQfinish)> connection_{nullptr, PQfinish};
  std::string notice_;  ///< the last one since the last statement began
  bool timed_out_ = false;
};

}  // namespace zunol_monitoring::postgres_ledger
