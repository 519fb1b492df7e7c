// One incident with all that happened to it, and how entries of the journal are listed.
#pragma once

#include <string>
#include <vector>

#include "ctl/listing.h"
#include "ctl/tool.h"

namespace zunol_monitoring::ctl {

Listing journal_listing(const Tool& tool);
std::vector<std::string> journal_cells(const JournalEntry& entry);

/// Prints the incident, its newest events and the newest entries of the journal that name it, at
/// most `limit` of each; as JSON one a line, of which "record" tells what it is. Raises
/// std::runtime_error with "no incident " and the id.
int show_incident(const Tool& tool, const std::string& id, int limit);

}  // namespace zunol_monitoring::ctl
