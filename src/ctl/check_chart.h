// The picture of a check over a period.
#pragma once

#include "ctl/check_trends.h"
#include "ctl/html.h"

namespace zunol_monitoring::ctl {

/// An SVG as wide as its place: the mean value of each bucket as a line, from the least to the
/// largest one as a band, and below it a rail of the stretches. One that failed is marked over
/// the whole height and tells its times and failures. `name` is the picture's title.
Html check_chart(const Trend& trend, const Period& period, const std::string& name);

}  // namespace zunol_monitoring::ctl
