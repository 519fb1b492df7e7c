#include "zunol_monitoring/config/overlay.h"

#include "config/overlay_rows.h"
#include "zunol_monitoring/base/environment.h"

namespace zunol_monitoring {
namespace {

void overlay(const char* name, std::string& field) { field = env_or_default(name, field); }
void overlay(const char* name, std::filesystem::path& field) {
  field = env_or_default(name, field.string());
}
void overlay(const char* name, bool& field) { field = env_bool(name, field); }
void overlay(const char* name, int& field) { field = env_int(name, field); }
void overlay(const char* name, std::vector<std::string>& field) { env_list(name, field); }

void overlay_seconds(const char* name, std::string& field) {
  const std::string seconds = env_or_default(name, "");
  if (!seconds.empty()) field = seconds + 's';
}

struct EnvironmentOverlay {
  void variable(const char* name, auto& field) { overlay(name, field); }
  void seconds(const char* name, std::string& field) { overlay_seconds(name, field); }
};

}  // namespace

void apply_environment_overlay(Config& config) {
  EnvironmentOverlay overlay;
  visit_overlay(overlay, config);
}

}  // namespace zunol_monitoring
