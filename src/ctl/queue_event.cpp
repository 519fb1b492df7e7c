// zunol-monitoring-ctl queue show and retry: one event, and where it is.
#include "ctl/queue_event.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "ctl/age.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "ctl/table.h"
#include "ctl/whereabouts.h"
#include "store/due_rows.h"
#include "store/inspection.h"
#include "zunol_monitoring/base/clock.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

std::string state_of(const SyncRow& row, const std::string& now) {
  if (row.item.status != "pending") return row.item.status + " at " + row.sent_at;
  if (row.next_attempt_at <= now) return "pending, due";
  const auto age = age_of(row.next_attempt_at);
  return "pending, the next attempt " + (age ? "in " + span_text(-*age) : row.next_attempt_at);
}

std::string text_of(const Trace& trace) {
  return trace.path.string() + (trace.there ? "" : " (not there)");
}

std::string ledger_text(const Whereabouts& all) {
  if (!all.ledger_error.empty()) return all.ledger->string() + ": " + all.ledger_error;
  if (!all.ledger_row) return all.ledger->string() + " (not in it)";
  return all.ledger->string() + ", row " + std::to_string(all.ledger_row->sequence) + ", " +
         all.ledger_row->appended_at;
}

void print_row(const SyncRow& row, const Whereabouts& all) {
  Table table({"EVENT", row.item.event_id});
  table.add({"state", state_of(row, utc_timestamp_iso())});
  table.add({"queued", row.item.created_at + " (" + age_text(row.item.created_at) + " ago)"});
  table.add({"failed attempts", std::to_string(row.item.attempt_count)});
  if (!row.item.last_error.empty()) table.add({"last error", row.item.last_error});
  table.add({"marker", text_of(all.marker)});
  if (all.spool_file) table.add({"spool file", text_of(*all.spool_file)});
  if (all.ledger) table.add({"ledger", ledger_text(all)});
  print(table.text(0) + '\n');
  print_document(row.item.payload);
}

json trace_json(const Trace& trace) {
  return {{"path", trace.path.string()}, {"there", trace.there}};
}

json row_json(const SyncRow& row, const Whereabouts& all) {
  json object = {{"event_id", row.item.event_id},
                 {"status", row.item.status},
                 {"created_at", row.item.created_at},
                 {"attempt_count", row.item.attempt_count},
                 {"next_attempt_at", row.next_attempt_at},
                 {"last_error", row.item.last_error},
                 {"sent_at", row.sent_at},
                 {"payload", document_of(row.item.payload)},
                 {"marker", trace_json(all.marker)}};
  if (all.spool_file) object["spool_file"] = trace_json(*all.spool_file);
  if (all.ledger) {
    object["ledger"] = {{"path", all.ledger->string()}, {"there", all.ledger_row.has_value()}};
    if (all.ledger_row) object["ledger"]["sequence"] = all.ledger_row->sequence;
    if (!all.ledger_error.empty()) object["ledger"]["error"] = all.ledger_error;
  }
  return object;
}

int show(const Tool& tool, const std::string& id) {
  const Config config = read_config(tool.config);
  const auto row =
      look_at_store(tool, config).look([&](sqlite3* db) { return find_sync_row(db, id); });
  if (!row) throw std::runtime_error("no event " + id + " in the queue");
  const Whereabouts all = whereabouts_of(config, row->item);
  if (tool.json) {
    print_json(row_json(*row, all));
  } else {
    print_row(*row, all);
  }
  return done;
}

int retry(const Tool& tool, const std::vector<std::string>& ids) {
  const Config config = read_config(tool.config);
  auto store = open_to_change(config);
  if (!store) tell_absent_store(tool, config);
  int status = done;
  for (const std::string& id : ids) {
    const bool is_due = store && make_event_due(*store, id);
    if (!is_due) status = failed;
    if (tool.json) {
      print_json({{"event_id", id}, {"due", is_due}});
    } else {
      print(printable(id) + (is_due ? " is due\n" : " does not wait in the queue\n"));
    }
  }
  return status;
}

}  // namespace

void add_event_commands_of_queue(CLI::App& group, Tool& tool) {
  const auto id = std::make_shared<std::string>();
  CLI::App& show_command =
      add_command(tool, group, "show", "Show all that is known of one event, and where it is",
                  [&tool, id] { return show(tool, *id); });
  add_option(show_command, "ID", *id, "The event's id", {.required = true});

  const auto ids = std::make_shared<std::vector<std::string>>();
  CLI::App& retry_command =
      add_command(tool, group, "retry", "Make events due that wait for their next attempt",
                  [&tool, ids] { return retry(tool, *ids); });
  add_option(retry_command, "ID", *ids, "The events' ids", {.required = true});
}

}  // namespace zunol_monitoring::ctl
