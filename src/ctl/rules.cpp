#include "ctl/rules.h"

#include <stdexcept>

namespace zunol_monitoring::ctl {

std::vector<BrokenRule> judge_rules(const Config& config) {
  try {
    return broken_rules(config);
  } catch (const std::out_of_range&) {
    return {{.message = "a duration has a number of more than 64 bits"}};
  }
}

}  // namespace zunol_monitoring::ctl
