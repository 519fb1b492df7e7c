// zunol-monitoring-ctl: what an operator asks the configuration, the queue and the store.
#include <csignal>
#include <exception>
#include <string>

#include "ctl/command_line.h"
#include "ctl/output.h"
#include "ctl/tool.h"
#include "zunol_monitoring/store/store_error.h"

int main(int argc, char** argv) {
  using namespace zunol_monitoring::ctl;
  claim_standard_descriptors();
  set_character_type();
  std::signal(SIGCHLD, SIG_DFL);     // ignored, it would hide the status of commands
  std::signal(SIGXFSZ, [](int) {});  // a limit on the size of files is to be an error of a write
  try {
    return run_command_line(argc, argv);
  } catch (const zunol_monitoring::StoreError& error) {
    const std::string what = error.what();
    const bool older = what.starts_with("no such column");
    print_error(older
                    ? "the store is of an older version, which `store maintain` completes: " + what
                    : what);
    return failed;
  } catch (const std::exception& error) {
    print_error(error.what());
    return failed;
  }
}
