// A configuration read past the values that the loader refuses, so that one check tells all of
// them.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "config/field_place.h"
#include "ctl/config_file.h"

namespace zunol_monitoring::ctl {

struct TolerantRead {
  Config
      config;  ///< what a field that got no value of its type holds breaks no rule about it alone
  /// Every value that is not of its type, in the order of reading, so that parse_config raises the
  /// first one; of more than 200 the rest is counted. Empty where parse_config takes the text.
  std::vector<Finding> errors;
  std::set<FieldPlace> wrong;  ///< the fields that such a value was meant for
};

/// What parse_config gives for the text, which raises the YAML library's errors where it is no
/// YAML.
TolerantRead read_tolerantly(const std::string& text, const std::filesystem::path& path);

}  // namespace zunol_monitoring::ctl
