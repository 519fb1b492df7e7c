#include "ctl/report_page.h"

#include <algorithm>

#include "ctl/age.h"
#include "ctl/amounts.h"
#include "ctl/check_chart.h"
#include "ctl/metrics.h"
#include "ctl/report_style.h"
#include "zunol_monitoring/config/duration.h"

namespace zunol_monitoring::ctl {
namespace {

constexpr std::string_view page_skeleton = R"(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'sha256-{digest}'; base-uri 'none'; form-action 'none'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>{host}: monitoring report of {until}</title>
<style>{css}</style>
</head>
<body>
<header class="page">
<div>
<h1><bdi>{host}</bdi></h1>
<p class="soft">Monitoring report, {from} to {until} UTC</p>
</div>
{verdict}
</header>
<main>
<ul class="tiles" aria-label="At a glance">
{tiles}</ul>
<section aria-labelledby="incidents">
<h2 id="incidents">Open incidents</h2>
{incidents}</section>
<section aria-labelledby="checks">
<h2 id="checks">Checks</h2>
{checks}</section>
<section aria-labelledby="queue">
<h2 id="queue">Events that wait for their delivery</h2>
<div class="half">
{queue}</div>
</section>
<section aria-labelledby="journal">
<h2 id="journal">What the agent did</h2>
{journal}</section>
</main>
<footer>
{left_out}<p>All times are UTC. Made by <code>zunol-monitoring-ctl report</code> from <bdi>{store}</bdi>.</p>
</footer>
</body>
</html>
)";

constexpr std::string_view tile_skeleton = R"(<li class="{class}">{name}
<strong>{figure}</strong>
<span class="soft">{more}</span></li>
)";

constexpr std::string_view incident_skeleton = R"(<article class="card">
<header><h3>{title}</h3><span class="badge {class}">{level}</span></header>
<p>{message}</p>
<dl><div><dt>since</dt><dd>{since}</dd></div><div><dt>last seen</dt><dd>{seen}</dd></div><div><dt>repeated</dt><dd>{times}</dd></div><div><dt>check</dt><dd><bdi>{check}</bdi></dd></div><div><dt>target</dt><dd><bdi>{target}</bdi></dd></div><div><dt>value</dt><dd><bdi>{value}</bdi></dd></div><div><dt>status</dt><dd>{status}</dd></div></dl>
<p class="soft">{id}</p>
</article>
)";

constexpr std::string_view check_skeleton = R"(<article class="card {class}">
<header><h3><bdi>{check}</bdi></h3><span class="badge {class}">{state}</span></header>
<p class="soft">{target}</p>
{chart}
<p class="axis"><span>{from}</span><span>{until}</span></p>
<dl><div><dt>last</dt><dd>{last}</dd></div><div><dt>least</dt><dd>{least}</dd></div><div><dt>most</dt><dd>{most}</dd></div><div><dt>failed</dt><dd>{failed} of {results}</dd></div></dl>
<p class="soft message">{message}</p>
</article>
)";

constexpr std::string_view figures_skeleton = R"(<div class="card"><table>
<caption>Now</caption>
<tbody>
{rows}</tbody>
</table></div>
)";
constexpr std::string_view figure_skeleton =
    R"(<tr><th scope="row">{name}</th><td>{figure}</td></tr>
)";

constexpr std::string_view ages_skeleton = R"(<div class="card"><table class="ages">
<caption>By age</caption>
<thead><tr><th scope="col">Age</th><th scope="col" class="number">Events</th><th scope="col">Share</th></tr></thead>
<tbody>
{rows}</tbody>
</table></div>
)";
constexpr std::string_view age_skeleton =
    R"(<tr><th scope="row">{age}</th><td class="number">{events}</td><td><svg class="bar" viewBox="0 0 100 1" preserveAspectRatio="none" role="img"><title>{share} %</title><rect width="{share}" height="1"/></svg></td></tr>
)";

constexpr std::string_view errors_skeleton = R"(<div class="card"><table>
<caption>Why events wait</caption>
<thead><tr><th scope="col" class="number">Events</th><th scope="col" class="number">Oldest</th><th scope="col">Last error</th></tr></thead>
<tbody>
{rows}</tbody>
</table></div>
)";
constexpr std::string_view error_skeleton =
    R"(<tr><td class="number">{events}</td><td class="number">{oldest}</td><td>{error}</td></tr>
)";

constexpr std::string_view journal_skeleton = R"(<div class="card"><table class="journal">
<thead><tr><th scope="col">Time</th><th scope="col">Action</th><th scope="col">Status</th></tr></thead>
<tbody>
{rows}</tbody>
</table></div>
)";
constexpr std::string_view entry_skeleton =
    R"(<tr><td>{time}</td><td><p><bdi>{category}</bdi> <bdi>{action}</bdi></p>{message}</td><td>{status}</td></tr>
)";

constexpr std::string_view time_skeleton = R"(<time datetime="{iso}">{text}</time>)";

/// A time without its letters and, where it has the form of one, with its machine-readable twin.
Html moment(const std::string& at) {
  if (seconds_of_timestamp(at, -1) == -1) return at;
  return fill(time_skeleton,
              {{"iso", at}, {"text", at.substr(0, 10) + ' ' + at.substr(11, at.size() - 12)}});
}

/// The same with how long ago that was.
Html moment_and_age(const std::string& at) {
  Html html = moment(at);
  if (age_of(at)) html += " (" + age_text(at) + " ago)";
  return html;
}

/// "2026-01-31 12:00".
std::string minute_text(std::int64_t at) {
  const std::string text = timestamp_of_seconds(at);
  return text.substr(0, 10) + ' ' + text.substr(11, 5);
}

Html wrap(std::string_view skeleton, const Html& rows) { return fill(skeleton, {{"rows", rows}}); }

/// A sentence in the place of what is not there.
Html empty(std::string_view text) {
  return fill("<p class=\"empty\">{text}</p>\n", {{"text", text}});
}

std::string counted(std::int64_t number, const char* one, const char* more) {
  return std::to_string(number) + ' ' + (number == 1 ? one : more);
}

const char* badge_of(Severity level) {
  return level == Severity::Critical ? "bad" : level == Severity::Warning ? "warn" : "";
}

// ---- the head

struct Tile {
  bool bad = false;
  std::string name;
  std::string figure;
  std::string more;
};

std::vector<Tile> tiles_of(const Report& report) {
  const SyncQueueStats& queue = report.queue.queue;
  const std::int64_t age = age_of(queue.oldest_pending_at).value_or(0);
  const Trends& trends = report.trends;
  const bool over_limit = report.store_limit > 0 && report.store_bytes > report.store_limit;
  return {{.bad = report.open_incidents > 0,
           .name = "Open incidents",
           .figure = std::to_string(report.open_incidents),
           .more = std::to_string(report.critical_incidents) + " critical"},
          {.bad = trends.failing > 0,
           .name = "Failing checks",
           .figure = std::to_string(trends.failing) + " of " + std::to_string(trends.checks.size()),
           .more = std::to_string(trends.failed_before) + " more failed before"},
          {.bad = age > parse_duration_seconds(default_max_age, 0),
           .name = "Waiting events",
           .figure = std::to_string(queue.pending),
           .more = queue.pending == 0 ? "all are delivered" : "the oldest for " + span_text(age)},
          {.bad = over_limit,
           .name = "Store",
           .figure = bytes_text(report.store_bytes),
           .more = report.store_limit == 0 ? "without a limit"
                                           : "limit " + bytes_text(report.store_limit)}};
}

Html verdict(const std::vector<Tile>& tiles) {
  const auto bad = std::ranges::count(tiles, true, &Tile::bad);
  return fill("<p class=\"verdict {class}\">{text}</p>",
              {{"class", bad > 0 ? "bad" : ""},
               {"text", bad > 0 ? "Needs attention" : "Nothing needs attention"}});
}

Html tile_list(const std::vector<Tile>& tiles) {
  Html list;
  for (const Tile& tile : tiles) {
    list += fill(tile_skeleton, {{"class", tile.bad ? "bad" : ""},
                                 {"name", tile.name},
                                 {"figure", tile.figure},
                                 {"more", tile.more}});
  }
  return list;
}

// ---- the sections

Html incident_section(const Report& report) {
  if (report.incidents.empty()) return empty("No incident is open.");
  return fill("<div class=\"cards\">\n{cards}</div>\n", {{"cards", report.incidents}});
}

Html check_section(const Report& report) {
  if (report.checks.empty()) return empty("There are no results in this time.");
  return fill("<div class=\"cards\">\n{cards}</div>\n", {{"cards", report.checks}});
}

Html queue_section(const QueueFigures& figures) {
  Html rows;
  for (const auto& [name, figure] : named_figures(figures)) {
    rows += fill(figure_skeleton, {{"name", name}, {"figure", figure}});
  }
  Html section = wrap(figures_skeleton, rows);
  if (figures.queue.pending == 0) return section;
  Html ages;
  for (std::size_t i = 0; i < figures.queue.by_age.size(); ++i) {
    const std::int64_t events = figures.queue.by_age[i];
    ages += fill(age_skeleton, {{"age", age_class_text(i)},
                                {"events", std::to_string(events)},
                                {"share", std::to_string(100 * events / figures.queue.pending)}});
  }
  section += wrap(ages_skeleton, ages);
  Html errors;
  for (const ErrorCount& each : figures.errors) {
    errors += fill(error_skeleton, {{"events", std::to_string(each.rows)},
                                    {"oldest", age_text(each.oldest_at)},
                                    {"error", each.error}});
  }
  if (!errors.empty()) section += wrap(errors_skeleton, errors);
  return section;
}

Html journal_section(const Report& report) {
  if (report.journal.empty()) return empty("The journal has no entry of this time.");
  return wrap(journal_skeleton, report.journal);
}

Html left_out_list(const std::vector<std::string>& sentences) {
  if (sentences.empty()) return {};
  Html items;
  for (const std::string& each : sentences) items += fill("<li>{text}</li>\n", {{"text", each}});
  return fill("<p>Left out:</p>\n<ul>\n{items}</ul>\n", {{"items", items}});
}

std::string base64_of_hexadecimal(std::string_view digits) {
  constexpr std::string_view letters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  unsigned bits = 0;
  int held = 0;
  for (const char digit : digits) {
    bits = bits << 4U | static_cast<unsigned>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
    held += 4;
    if (held < 6) continue;
    held -= 6;
    text += letters[bits >> held & 63U];
  }
  if (held > 0) text += letters[bits << (6 - held) & 63U];
  text.append((4 - text.size() % 4) % 4, '=');
  return text;
}

}  // namespace

Html incident_card(const Incident& incident) {
  return fill(incident_skeleton,
              {{"title", incident.title.empty() ? incident.fingerprint : incident.title},
               {"class", badge_of(incident.level)},
               {"level", severity_name(incident.level)},
               {"message", incident.message},
               {"since", moment_and_age(incident.first_seen_at)},
               {"seen", moment_and_age(incident.last_seen_at)},
               {"times", counted(incident.repeat_count, "time", "times")},
               {"check", incident.check_type + ' ' + incident.check_name},
               {"target", incident.target},
               {"value", incident.current_value},
               {"status", incident_status_name(incident.status)},
               {"id", incident.id}});
}

Html check_card(const Trend& trend, const Period& period, const std::string& message) {
  constexpr int digits = 4;
  const Bucket& total = trend.total;
  const bool failed_before = total.failures > 0;
  const std::string name = trend.last.check_type + ' ' + trend.last.check_name;
  return fill(check_skeleton,
              {{"check", name},
               {"class", trend.last.failed ? "bad"
                         : failed_before   ? "warn"
                                           : "good"},
               {"state", trend.last.failed ? "fails"
                         : failed_before   ? "failed before"
                                           : "passes"},
               {"target", trend.last.target},
               {"chart", check_chart(trend, period, name + ' ' + trend.last.target)},
               {"from", minute_text(period.from)},
               {"until", minute_text(period.until)},
               {"last", number_text(trend.last.value, digits)},
               {"least", number_text(total.least, digits)},
               {"most", number_text(total.most, digits)},
               {"failed", std::to_string(total.failures)},
               {"results", std::to_string(total.results)},
               {"message", message}});
}

Html journal_row(const JournalEntry& entry) {
  return fill(
      entry_skeleton,
      {{"time", moment(entry.created_at)},
       {"category", entry.category},
       {"action", entry.action},
       {"status", entry.status},
       {"message",
        entry.message.empty() ? Html() : fill("<p>{text}</p>", {{"text", entry.message}})}});
}

std::string report_page(const Report& report) {
  const std::vector<Tile> tiles = tiles_of(report);
  return fill(page_skeleton, {{"digest", base64_of_hexadecimal(report_css_sha256)},
                              {"css", Html::markup(std::string(report_css))},
                              {"host", report.host},
                              {"from", minute_text(report.period.from)},
                              {"until", minute_text(report.period.until)},
                              {"verdict", verdict(tiles)},
                              {"tiles", tile_list(tiles)},
                              {"incidents", incident_section(report)},
                              {"checks", check_section(report)},
                              {"queue", queue_section(report.queue)},
                              {"journal", journal_section(report)},
                              {"left_out", left_out_list(report.left_out)},
                              {"store", report.store}})
      .text();
}

}  // namespace zunol_monitoring::ctl
