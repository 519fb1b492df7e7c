// postgres-ledger: a backend of zunol-vorn-append-event that keeps the history of many hosts in
// PostgreSQL, the collector of their spool directories, and the proof that nothing was changed.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>

#include "commands.h"
#include "failure.h"

namespace zunol_monitoring::postgres_ledger {
namespace {

/// A standard descriptor that the caller has closed would become that of the connection.
void claim_standard_descriptors() {
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = open("/dev/null", O_RDWR);
  if (descriptor > STDERR_FILENO) close(descriptor);
}

/// The backend starts once for every event, and leaves the command line of the others alone.
int run(int argc, char** argv) {
  if (argc == 1) return append_one("");
  if (is_command(argv[1])) return run_command_line(argc, argv);
  if (argc == 2 && argv[1][0] != '\0') return append_one(argv[1]);
  throw Failure(wrong_usage, "usage: postgres-ledger [SERVICE]; see postgres-ledger --help");
}

}  // namespace
}  // namespace zunol_monitoring::postgres_ledger

int main(int argc, char** argv) {
  using namespace zunol_monitoring::postgres_ledger;
  claim_standard_descriptors();
  int status = try_again;
  try {
    status = run(argc, argv);
  } catch (const Failure& failure) {
    print_error(failure.what());
    status = failure.status;
  } catch (const std::exception& error) {
    print_error(error.what());
  }
  if ((std::fflush(stdout) != 0 || std::ferror(stdout) != 0) && status == done) {
    print_error("cannot write standard output");
    status = try_again;
  }
  return status;
}
