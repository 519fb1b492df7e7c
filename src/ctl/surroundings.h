// What a configuration names on this host, and what there surely is a mistake.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "ctl/config_file.h"
#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring::ctl {

/// The name of a user, or the number where it has none.
std::string user_name(uid_t user);

/// Warns of directories in which others could plant or take away events, markers and spool files:
/// those of the database and the markers, also where only the group may write, the export directory
/// and the temporary one, where they are used and exist; of a database that everybody may read; of
/// directories that are not the agent's, which is the user who asks, or for root the owner of the
/// database; and of programs in vorn.append_command and vorn.bridge_command that are empty or
/// cannot be read, since the shell ends well with them.
std::vector<Finding> examine_surroundings(const Config& config, const ConfigFile& file);

}  // namespace zunol_monitoring::ctl
