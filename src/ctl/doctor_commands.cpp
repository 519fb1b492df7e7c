// zunol-monitoring-ctl doctor and why: what stops deliveries, and the story of one event.
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "ctl/age.h"
#include "ctl/event_intake.h"
#include "ctl/input.h"
#include "ctl/obstacles.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "ctl/whereabouts.h"
#include "events/parse_envelope.h"
#include "history/event_file.h"
#include "store/health.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/events/event_envelope.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;
using Obstacles = std::vector<Obstacle>;

void append(Obstacles& all, Obstacles more) { std::ranges::move(more, std::back_inserter(all)); }

void print_obstacles(const Obstacles& obstacles) {
  for (const Obstacle& each : obstacles) {
    print(coloured(Colour::red, printable(each.what)) + " -> " + printable(each.remedy) + '\n');
  }
}

// ---- doctor

/// A configuration that cannot be read hides all else.
Obstacles examine(const Tool& tool) {
  Config config;
  try {
    config = read_config(tool.config);
  } catch (const std::exception& error) {
    return {{error.what(), "`config check` tells more; --config names another file"}};
  }
  Obstacles found = host_obstacles(config);
  append(found, store_obstacles(tool, config, EventLook::all));
  return found;
}

int doctor(const Tool& tool) {
  const Obstacles found = examine(tool);
  if (tool.json) {
    print_json({{"ok", found.empty()}, {"obstacles", to_json(found)}});
  } else if (found.empty()) {
    print("ok: nothing stands in the way of a delivery\n");
  } else {
    print_obstacles(found);
  }
  return found.empty() ? done : failed;
}

// ---- why

/// What the append command says of the event, if it refuses it.
std::optional<std::string> refusal_of(const VornSyncItem& item) {
  try {
    const json event = parse_envelope(item.payload);
    if (const auto reason = validate_event(event)) return "invalid event: " + *reason;
    if (event["event_id"] == item.event_id) return std::nullopt;
    return "its payload has another event_id";
  } catch (const json::exception& error) {
    return error.what();
  }
}

/// One event: what has happened to it, and what stands in its way.
class Story {
 public:
  Story(const Tool& tool, const Config& config, const std::string& id)
      : tool_(tool), config_(config), id_(id), view_(look_at_store(tool, config)) {
    row_ = view_.look([&](sqlite3* db) { return find_sync_row(db, id); });
    if (row_) item_ = row_->item;
    item_.event_id = id;
    all_ = whereabouts_of(config, item_);
  }

  /// Nothing is known of the event.
  bool is_unknown() const { return !row_ && !marked() && !all_.ledger_row; }

  void tell() {
    tell_row();
    tell_marker();
    tell_files();
    if (!is_pending()) return;
    find_faults();
    find_waiting();
    append(obstacles_, host_obstacles(config_));
    append(obstacles_, store_obstacles(tool_, config_, EventLook::none));
  }

  int finish() const {
    if (tool_.json) {
      print_json({{"event_id", id_},
                  {"status", row_ ? item_.status : "unknown"},
                  {"story", sentences_},
                  {"obstacles", to_json(obstacles_)}});
    } else {
      for (const std::string& each : sentences_) print(printable(each) + '\n');
      print_obstacles(obstacles_);
      if (is_pending() && obstacles_.empty()) {
        print("Nothing stands in its way: the next `queue flush` takes it.\n");
      }
    }
    return obstacles_.empty() ? done : failed;
  }

 private:
  bool is_pending() const { return row_ && item_.status == "pending"; }
  bool marked() const { return all_.marker.there && all_.marked_id.value_or(id_) == id_; }
  void say(std::string sentence) { sentences_.push_back(std::move(sentence)); }

  void tell_row() {
    if (!row_) return say("It is not in the queue: maintenance has pruned it, or it never was.");
    say("It was queued at " + item_.created_at + ", " + age_text(item_.created_at) + " ago.");
    if (item_.attempt_count > 0) {
      say("Failed attempts: " + std::to_string(item_.attempt_count) +
          (item_.last_error.empty() ? "." : ", the last one with: " + item_.last_error));
    }
    if (!is_pending()) return say("It was delivered at " + row_->sent_at + '.');
    if (row_->next_attempt_at <= utc_timestamp_iso()) return say("It is due.");
    say("Its next attempt comes at " + row_->next_attempt_at + '.');
  }

  void tell_marker() {
    const std::string path = all_.marker.path.string();
    if (marked()) say("The append command has appended it: its marker is " + path + '.');
    if (!all_.marker.there || marked()) return;
    obstacles_.push_back({"its marker " + path + " is that of the event " + *all_.marked_id +
                              ", for which the append command takes it",
                          shared_marker_fault().remedy});
  }

  void tell_files() {
    if (row_ && all_.spool_file) {
      say(all_.spool_file->there
              ? "Its spool file " + all_.spool_file->path.string() + " waits for the collector."
              : "There is no spool file " + all_.spool_file->path.string() + '.');
    }
    if (!all_.ledger) return;
    const std::string ledger = "the ledger " + all_.ledger->string();
    if (!all_.ledger_error.empty()) {
      obstacles_.push_back({ledger + ": " + all_.ledger_error, "mend the ledger"});
    } else if (!all_.ledger_row) {
      say("It is not in " + ledger + '.');
    } else {
      say("It is in " + ledger + ", row " + std::to_string(all_.ledger_row->sequence) + ", since " +
          all_.ledger_row->appended_at + '.');
      if (row_ && all_.ledger_row->event != event_file_text(item_.payload)) {
        obstacles_.push_back({ledger + " has another event under its id",
                              "queue the event again under an id of its own"});
      }
    }
  }

  void find_faults() {
    if (const auto reason = refusal_of(item_)) {
      obstacles_.push_back({"the append command refuses it: " + *reason, "queue a good event"});
    }
    const std::string other =
        view_.look([&](sqlite3* db) { return event_sharing_marker(db, id_); });
    const auto add = [&](bool faulty, const Obstacle& fault, const std::string& more = "") {
      if (faulty) obstacles_.push_back({"it has " + fault.what + more, fault.remedy});
    };
    add(!other.empty(), shared_marker_fault(), ": " + other);
    add(id_.size() > longest_id_bytes(config_.vorn), long_id_fault(config_.vorn));
    add(item_.payload.size() > largest_event_bytes, large_event_fault());
  }

  void find_waiting() {
    const auto age = age_of(row_->next_attempt_at);
    if (!age || *age >= 0) return;
    obstacles_.push_back({"it waits for its next attempt, in " + span_text(-*age),
                          "mend what its last error tells, then `queue retry` it"});
  }

  const Tool& tool_;
  const Config& config_;
  std::string id_;
  StoreView view_;
  std::optional<SyncRow> row_;
  VornSyncItem item_;
  Whereabouts all_;
  std::vector<std::string> sentences_;
  Obstacles obstacles_;
};

int why(const Tool& tool, const std::string& id) {
  const Config config = read_config(tool.config);
  Story story(tool, config, id);
  if (story.is_unknown()) {
    throw std::runtime_error("no event " + id +
                             " in the queue, among the markers or in the ledger");
  }
  story.tell();
  return story.finish();
}

}  // namespace

void add_doctor_commands(CLI::App& app, Tool& tool) {
  add_command(tool, app, "doctor",
              "Tell all that would stop a delivery from here, and what to do; 1 if there is any",
              [&tool] { return doctor(tool); });
  const auto id = std::make_shared<std::string>();
  CLI::App& why_command =
      add_command(tool, app, "why",
                  "Tell what has happened to one event, and what stands in its way; 1 if anything",
                  [&tool, id] { return why(tool, *id); });
  add_option(why_command, "ID", *id, "The event's id", {.required = true});
}

}  // namespace zunol_monitoring::ctl
