// The page of `report`: what it shows, section by section.
//
// The page stands alone. It loads nothing, and its policy forbids it: no script, no address, and
// the one style sheet is named by its digest. Whatever comes from the store is text in it.
#pragma once

#include <cstdint>
#include <string>

#include "ctl/check_trends.h"
#include "ctl/html.h"
#include "ctl/queue_figures.h"
#include "zunol_monitoring/store/check_results.h"
#include "zunol_monitoring/store/incidents.h"
#include "zunol_monitoring/store/journal.h"

namespace zunol_monitoring::ctl {

Html incident_card(const Incident& incident);
/// `message` is that of the last result.
Html check_card(const Trend& trend, const Period& period, const std::string& message);
Html journal_row(const JournalEntry& entry);

struct Report {
  std::string host;
  std::string store;  ///< the path of the database
  Period period;
  std::uint64_t store_bytes = 0;
  std::uint64_t store_limit = 0;
  QueueFigures queue;
  std::int64_t open_incidents = 0;
  std::int64_t critical_incidents = 0;
  Trends trends;
  Html incidents;                     ///< cards
  Html checks;                        ///< cards
  Html journal;                       ///< rows
  std::vector<std::string> left_out;  ///< one sentence each
};

/// The whole page.
std::string report_page(const Report& report);

}  // namespace zunol_monitoring::ctl
