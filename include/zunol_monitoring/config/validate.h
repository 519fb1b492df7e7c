// The rule book of the configuration.
#pragma once

#include <string>
#include <vector>

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

/// One sentence for each of the 91 rules that the configuration breaks, in their fixed order, and
/// for the last one a sentence for each file; none for a valid configuration. Nothing is changed.
/// The file system is asked whether telegram.service_key_file exists, and, with
/// security.fail_on_loose_secrets, for the modes of the secret files.
///
/// Raises the file-system library's error when that cannot be found out, and std::out_of_range with
/// "stoll" for a duration of more than 64 bits.
std::vector<std::string> validate_config(const Config& config);

}  // namespace zunol_monitoring
