#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

Config default_config() {
  Config config;
  config.agent.tags = {"monitoring"};
  return config;
}

}  // namespace zunol_monitoring
