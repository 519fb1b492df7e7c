#include "zunol_monitoring/config/load.h"

#include <yaml-cpp/yaml.h>

#include <stdexcept>

#include "config/key_reader.h"
#include "config/keys/config_keys.h"
#include "zunol_monitoring/base/environment.h"
#include "zunol_monitoring/config/overlay.h"

namespace zunol_monitoring {

std::filesystem::path default_config_path() {
  return env_or_default("ZUNOL_MONITORING_CONFIG", "/etc/zunol/monitoring-agent/config.yaml");
}

Config load_config(const std::filesystem::path& path) {
  if (!std::filesystem::exists(path)) {
    throw std::runtime_error("config not found: " + path.string());
  }
  const YAML::Node root = YAML::LoadFile(path.string());
  Config config = default_config();
  config.path = path;
  KeyReader reader(root);
  visit_keys(reader, config);
  apply_environment_overlay(config);
  return config;
}

}  // namespace zunol_monitoring
