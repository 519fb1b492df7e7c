#include "zunol_monitoring/config/load.h"

#include <yaml-cpp/yaml.h>

#include <stdexcept>

#include "config/key_reader.h"
#include "config/keys/config_keys.h"
#include "config/parse_config.h"
#include "zunol_monitoring/base/environment.h"
#include "zunol_monitoring/config/overlay.h"

namespace zunol_monitoring {
namespace {

Config read_document(const YAML::Node& root, const std::filesystem::path& path) {
  Config config = default_config();
  config.path = path;
  KeyReader reader(root);
  visit_keys(reader, config);
  apply_environment_overlay(config);
  return config;
}

}  // namespace

std::filesystem::path default_config_path() {
  return env_or_default("ZUNOL_MONITORING_CONFIG", "/etc/zunol/monitoring-agent/config.yaml");
}

Config load_config(const std::filesystem::path& path) {
  if (!std::filesystem::exists(path)) {
    throw std::runtime_error("config not found: " + path.string());
  }
  return read_document(YAML::LoadFile(path.string()), path);
}

Config parse_config(const std::string& text, const std::filesystem::path& path) {
  return read_document(YAML::Load(text), path);
}

}  // namespace zunol_monitoring
