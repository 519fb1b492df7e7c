// What the agent recorded, as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "store/inspection.h"

namespace zunol_monitoring::ctl {

nlohmann::json to_json(const Incident& incident);
nlohmann::json to_json(const JournalEntry& entry);
nlohmann::json to_json(const CheckResult& result);

}  // namespace zunol_monitoring::ctl
