#include "zunol_monitoring/store/check_results.h"

#include <nlohmann/json.hpp>

#include "base/json_depth.h"
#include "store/cut_columns.h"
#include "store/inspection.h"
#include "store/statement.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {
namespace {

using nlohmann::json;
using Labels = std::map<std::string, std::string>;

const std::string result_columns =
    "check_type, check_name, target, state, level, message, value, created_at, labels";
const std::string select_result = "SELECT " + result_columns + " FROM check_results ";

/// Seconds since 1970, NULL for what is no time.
const std::string moment = "CAST(strftime('%s', created_at) AS INTEGER)";

constexpr const char* no_labels = "{}";

std::string labels_text(const Labels& labels) {
  return labels.empty() ? no_labels : json(labels).dump();
}

/// Damaged labels must not take the rest of a listing with them: they stay as far as they are good.
Labels read_labels(const std::string& text) {
  Labels labels;
  if (text == no_labels) return labels;
  const json object = json::parse(text, nullptr, false);
  if (!object.is_object()) return labels;
  for (const auto& [key, value] : object.get_ref<const json::object_t&>()) {
    if (nested_deeper_than(max_data_depth, value)) continue;  // beyond what can be written
    labels.emplace_hint(labels.end(), key,
                        value.is_string() ? value.get<std::string>() : value.dump());
  }
  return labels;
}

CheckResult read_result(const Statement& row) {
  return {.check_type = row.text(0),
          .check_name = row.text(1),
          .target = row.text(2),
          .state = row.text(3) == "failed" ? CheckStatus::Failed : CheckStatus::Ok,
          .level = severity_from_name(row.text(4)),
          .message = row.text(5),
          .value = row.real(6),
          .labels = read_labels(row.text(8)),
          .created_at = row.text(7)};
}

/// The figure of a query that has one row, NULL when nothing matched.
std::optional<double> aggregate(Statement& query) {
  if (!query.next() || query.is_null(0)) return std::nullopt;
  return query.real(0);
}

}  // namespace

const char* check_status_name(CheckStatus status) {
  return status == CheckStatus::Ok ? "ok" : "failed";
}

void SqliteStore::insert_check_result(const CheckResult& result) {
  Statement(db,
            "INSERT INTO check_results(check_type, check_name, target, state, level, message, "
            "value, created_at, labels) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?)")
      .bind(result.check_type, result.check_name, result.target, check_status_name(result.state),
            severity_name(result.level), result.message, result.value, result.created_at,
            labels_text(result.labels))
      .run();
}

std::vector<CheckResult> SqliteStore::list_check_results(int limit, const std::string& check_type) {
  if (check_type.empty()) {
    return Statement(db, select_result + "ORDER BY created_at DESC, id DESC LIMIT ?")
        .bind(limit)
        .all(read_result);
  }
  return Statement(db,
                   select_result + "WHERE check_type=? ORDER BY created_at DESC, id DESC LIMIT ?")
      .bind(check_type, limit)
      .all(read_result);
}

std::optional<double> SqliteStore::average_check_value(const std::string& check_type,
                                                       const std::string& check_name,
                                                       const std::string& since) {
  return aggregate(Statement(db,
                             "SELECT avg(value) FROM check_results WHERE check_type=? AND "
                             "check_name=? AND created_at>=?")
                       .bind(check_type, check_name, since));
}

std::optional<double> SqliteStore::max_check_value(const std::string& check_type,
                                                   const std::string& check_name,
                                                   const std::string& since) {
  return aggregate(Statement(db,
                             "SELECT max(value) FROM check_results WHERE check_type=? AND "
                             "check_name=? AND created_at>=?")
                       .bind(check_type, check_name, since));
}

RowIds check_result_ids(sqlite3* db, const ResultFilter& filter, int limit) {
  // Whatever is not "failed" reads as ok.
  return Statement(db,
                   "SELECT id FROM check_results WHERE (?1='' OR check_type=?1) AND (?2='' OR "
                   "(state='failed')=(?2='failed')) AND created_at>=?3 ORDER BY created_at DESC, "
                   "id DESC LIMIT ?4")
      .bind(filter.check_type, filter.state, filter.since, limit)
      .row_ids();
}

std::vector<CheckResult> check_results(sqlite3* db, std::span<const std::int64_t> ids,
                                       int longest_text) {
  return Statement(db, "SELECT " + cut_columns(result_columns, longest_text) +
                           " FROM check_results WHERE id=?")
      .each(ids, read_result);
}

std::vector<ResultSeries> result_series(sqlite3* db, const std::string& check_name,
                                        const std::string& since, int limit) {
  Statement rows(db,
                 "SELECT substr(check_type, 1, 200), substr(target, 1, 200), count(*), "
                 "min(value), max(value), min(" +
                     moment + "), max(" + moment +
                     ") FROM check_results WHERE check_name=? AND created_at>=? AND " + moment +
                     " IS NOT NULL GROUP BY check_type, target ORDER BY 1, 2 LIMIT ?");
  rows.bind(check_name, since, limit);
  std::vector<ResultSeries> series;
  while (rows.next_or_raise()) {
    series.push_back({.check_name = check_name,
                      .check_type = rows.text(0),
                      .target = rows.text(1),
                      .since = since,
                      .results = rows.integer64(2),
                      .least = rows.real(3),
                      .greatest = rows.real(4),
                      .from_sec = rows.integer64(5),
                      .until_sec = rows.integer64(6)});
  }
  return series;
}

std::vector<std::optional<double>> result_means(sqlite3* db, const ResultSeries& series,
                                                std::int64_t from_sec, std::int64_t until_sec,
                                                int spans) {
  Statement rows(db,
                 "SELECT (" + moment +
                     "-?1)*?3/(?2-?1+1), avg(value) FROM check_results WHERE "
                     "check_name=?4 AND substr(check_type, 1, 200)=?5 AND substr(target, 1, 200)="
                     "?6 AND created_at>=?7 AND " +
                     moment + " BETWEEN ?1 AND ?2 GROUP BY 1");
  rows.bind(from_sec, until_sec, spans, series.check_name, series.check_type, series.target,
            series.since);
  std::vector<std::optional<double>> means(static_cast<std::size_t>(spans));
  while (rows.next_or_raise()) means.at(static_cast<std::size_t>(rows.integer64(0))) = rows.real(1);
  return means;
}

}  // namespace zunol_monitoring
