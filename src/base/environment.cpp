#include "base/environment.h"

#include <cstdlib>

namespace zunol_monitoring {

std::string env_or_default(const char* name, const std::string& fallback) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : fallback;
}

}  // namespace zunol_monitoring
