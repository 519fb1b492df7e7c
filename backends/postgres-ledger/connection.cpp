#include "connection.h"

#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

#include "failure.h"
#include "zunol_monitoring/base/environment.h"

namespace zunol_monitoring::postgres_ledger {
namespace {

using Clock = std::chrono::steady_clock;

/// libpq passes over such a file with a warning of its own, and then lacks the password.
void require_private_password_file() {
  const std::string file = env_or_default("PGPASSFILE", "");
  struct stat status;
  constexpr mode_t others = 077;
  if (file.empty() || stat(file.c_str(), &status) != 0) return;
  if (!S_ISREG(status.st_mode)) throw Failure(try_again, file + " is no regular file");
  if ((status.st_mode & others) != 0) {
    throw Failure(try_again, file + " holds a password and must have mode 0600");
  }
}

void set_defaults_of_environment() {
  constexpr int keep = 0;
  setenv("PGCONNECT_TIMEOUT", "10", keep);
  const std::string wallet = env_or_default("ZUNOL_VORN_WALLET_FILE", "");
  if (!wallet.empty()) setenv("PGPASSFILE", wallet.c_str(), keep);
}

Failure failure_of(const PGresult* result) {
  const char* state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
  const std::string_view sqlstate = state == nullptr ? "" : state;
  const bool of_data = sqlstate.starts_with("22") || sqlstate.starts_with("54");
  const char* primary = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
  std::string message = primary != nullptr ? primary : PQresultErrorMessage(result);
  if (!sqlstate.empty()) message += " (SQLSTATE " + std::string(sqlstate) + ')';
  return {of_data ? never : try_again, message};
}

bool is_failure(const PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  return status == PGRES_FATAL_ERROR || status == PGRES_BAD_RESPONSE;
}

/// Connects, and returns what libpq said meanwhile. It says so on stderr, in lines of its own, as
/// only a connection that stands takes another receiver, and the calls that take one before have no
/// time limit for each address. The descriptor stays as it is, for signal handlers.
std::string connect(std::unique_ptr<PGconn, decltype(&PQfinish)>& connection,
                    const char* const* keywords, const char* const* values) {
  constexpr std::size_t enough = 1024;
  std::string said(enough, '\0');
  const std::unique_ptr<FILE, int (*)(FILE*)> memory(fmemopen(said.data(), enough, "w"),
                                                     std::fclose);
  FILE* const usual = std::exchange(stderr, memory ? memory.get() : stderr);
  connection.reset(PQconnectdbParams(keywords, values, 0));
  std::fflush(stderr);
  stderr = usual;
  return said.c_str();
}

}  // namespace

std::chrono::seconds time_limit() {
  constexpr int usual = 60;
  return std::chrono::seconds(std::max(1, env_int("ZUNOL_LEDGER_TIME_LIMIT", usual)));
}

Connection::Connection(const std::string& service) {
  set_defaults_of_environment();
  require_private_password_file();
  const char* keywords[] = {"client_encoding", "fallback_application_name",
                            service.empty() ? nullptr : "service", nullptr};
  const char* values[] = {"UTF8", "postgres-ledger", service.c_str(), nullptr};
  const std::string said = connect(connection_, keywords, values);
  // A notice of these is no failure: nothing has been asked yet that it could be about.
  if (PQstatus(connection_.get()) != CONNECTION_OK) {
    throw Failure(try_again, PQerrorMessage(connection_.get()) + said);
  }
  PQsetNoticeReceiver(
      connection_.get(),
      [](void* notice, const PGresult* result) {
        const char* primary = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
        *static_cast<std::string*>(notice) = primary != nullptr ? primary : "a notice";
      },
      &notice_);
}

Rows Connection::commit(const char* statement, const std::vector<Parameter>& parameters) {
  notice_.clear();
  PGconn* connection = connection_.get();
  const bool failed_before = PQtransactionStatus(connection) == PQTRANS_INERROR;
  if (PQsetnonblocking(connection, 1) != 0 || PQenterPipelineMode(connection) != 1) {
    fail_of_connection();
  }
  if (failed_before) send("ROLLBACK", {});
  send("BEGIN ISOLATION LEVEL READ COMMITTED", {});
  send(statement, parameters);
  send("COMMIT", {});
  if (PQpipelineSync(connection) != 1) fail_of_connection();
  Rows rows = receive();
  PQexitPipelineMode(connection);
  if (!notice_.empty()) throw Failure(try_again, "the server says: " + notice_);
  return rows;
}

void Connection::for_each_row(const char* statement, const std::vector<const char*>& texts,
                              const std::function<void(const PGresult*)>& take) {
  PGconn* connection = connection_.get();
  if (PQsendQueryParams(connection, statement, static_cast<int>(texts.size()), nullptr,
                        texts.data(), nullptr, nullptr, 0) != 1 ||
      PQsetSingleRowMode(connection) != 1) {
    fail_of_connection();
  }
  while (true) {
    const Rows row(PQgetResult(connection), PQclear);
    if (!row) return;
    if (is_failure(row.get())) throw failure_of(row.get());
    if (PQresultStatus(row.get()) == PGRES_SINGLE_TUPLE) take(row.get());
  }
}

void Connection::run(const char* script) {
  const Rows result(PQexec(connection_.get(), script), PQclear);
  if (is_failure(result.get())) throw failure_of(result.get());
  if (!notice_.empty()) throw Failure(try_again, "the server says: " + notice_);
}

void Connection::send(const char* statement, const std::vector<Parameter>& parameters) {
  std::vector<Oid> types;
  std::vector<const char*> values;
  std::vector<int> lengths;
  for (const Parameter& parameter : parameters) {
    types.push_back(parameter.type);
    values.push_back(parameter.bytes.data());
    lengths.push_back(static_cast<int>(parameter.bytes.size()));
  }
  const std::vector<int> binary(parameters.size(), 1);
  if (PQsendQueryParams(connection_.get(), statement, static_cast<int>(parameters.size()),
                        types.data(), values.data(), lengths.data(), binary.data(), 0) != 1) {
    fail_of_connection();
  }
}

/// What came of the pipeline, once the server has told of its end.
Rows Connection::receive() {
  const auto end = Clock::now() + time_limit();
  Rows rows(nullptr, PQclear);
  std::optional<Failure> failure;
  std::string last_command;
  while (true) {
    wait_for_server(end);
    Rows result(PQgetResult(connection_.get()), PQclear);
    if (!result && PQstatus(connection_.get()) != CONNECTION_OK) break;
    if (!result) continue;  // the end of one statement's results
    const ExecStatusType status = PQresultStatus(result.get());
    if (status == PGRES_PIPELINE_SYNC) break;
    if (is_failure(result.get()) && !failure) failure = failure_of(result.get());
    if (status == PGRES_COMMAND_OK) last_command = PQcmdStatus(result.get());
    if (status == PGRES_TUPLES_OK) rows = std::move(result);
  }
  if (failure) throw Failure(*failure);
  if (!rows || last_command != "COMMIT") throw Failure(try_again, "the server has not committed");
  return rows;
}

/// Returns when a result can be had, if only that the connection is lost.
void Connection::wait_for_server(Clock::time_point end) {
  PGconn* connection = connection_.get();
  while (PQstatus(connection) == CONNECTION_OK) {
    const int unsent = PQflush(connection);
    if (unsent == 0 && PQisBusy(connection) == 0) return;
    const auto left = std::min<std::int64_t>(
        std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count(), INT_MAX);
    pollfd server = {.fd = PQsocket(connection),
                     .events = static_cast<short>(unsent == 1 ? POLLIN | POLLOUT : POLLIN)};
    const int ready = left <= 0 ? 0 : poll(&server, 1, static_cast<int>(left));
    if (ready == 0) {
      timed_out_ = true;
      throw Failure(try_again, "no answer of the server within " +
                                   std::to_string(time_limit().count()) + " s");
    }
    // A failure is among the results, behind what the server said before it went.
    if (ready > 0) PQconsumeInput(connection);
  }
}

void Connection::fail_of_connection() const {
  throw Failure(try_again, PQerrorMessage(connection_.get()));
}

}  // namespace zunol_monitoring::postgres_ledger
