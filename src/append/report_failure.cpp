#include "append/report_failure.h"

#include <cstdio>

namespace zunol_monitoring {

int report_failure(const std::string& message) {
  const std::string line = "ERROR: " + message + '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
  return 1;
}

}  // namespace zunol_monitoring
