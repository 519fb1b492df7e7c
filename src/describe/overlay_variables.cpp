#include "describe/overlay_variables.h"

#include "config/overlay_rows.h"
#include "zunol_monitoring/base/environment.h"

namespace zunol_monitoring {
namespace {

class VariableList {
 public:
  VariableList(const Config& config, std::vector<OverlayVariable>& variables)
      : config_(config), variables_(variables) {}

  // A value counts where two fallbacks make no difference.
  void variable(const char* name, const bool& field) {
    add(name, &field, env_bool(name, false) == env_bool(name, true));
  }
  void variable(const char* name, const int& field) {
    add(name, &field, env_int(name, 0) == env_int(name, 1));
  }
  void variable(const char* name, const auto& field) { add(name, &field, true); }
  void seconds(const char* name, const std::string& field) { variable(name, field); }

 private:
  void add(const char* name, const void* field, bool converts) {
    const bool set = !env_or_default(name, "").empty();
    variables_.push_back({name, field_place(config_, field), set, set && converts});
  }

  const Config& config_;
  std::vector<OverlayVariable>& variables_;
};

}  // namespace

std::vector<OverlayVariable> overlay_variables() {
  const Config config;
  std::vector<OverlayVariable> variables;
  VariableList list(config, variables);
  visit_overlay(list, config);
  return variables;
}

}  // namespace zunol_monitoring
