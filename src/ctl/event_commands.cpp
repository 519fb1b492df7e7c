// zunol-monitoring-ctl event: events queued by hand, judged, and their types.
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "ctl/input.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/tool.h"
#include "events/event_draft.h"
#include "events/parse_envelope.h"
#include "zunol_monitoring/config/load.h"
#include "zunol_monitoring/events/event_envelope.h"
#include "zunol_monitoring/history/queueing_history_writer.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

struct SendArguments {
  std::string type;
  std::optional<std::string> level;
  std::optional<std::string> id;
  std::optional<std::string> data;
  std::optional<std::string> data_file;
};

json read_data(const SendArguments& arguments) {
  if (!arguments.data && !arguments.data_file) return json::object();
  const std::string text = arguments.data ? *arguments.data : read_input(*arguments.data_file);
  try {
    return json::parse(text);
  } catch (const json::parse_error& error) {
    throw std::runtime_error("the data is no JSON: " + std::string(error.what()));
  }
}

/// The data with level and id in it, where the event takes them from.
json read_event_data(const SendArguments& arguments) {
  json data = read_data(arguments);
  if (!arguments.level && !arguments.id) return data;
  if (!data.is_object()) data = json{{"value", std::move(data)}};
  if (arguments.level) data["level"] = *arguments.level;
  if (arguments.id) data["event_id"] = *arguments.id;
  return data;
}

int send(const Tool& tool, const SendArguments& arguments) {
  const Config config = load_config(tool.config);
  if (!config.vorn.enabled) throw std::runtime_error("vorn.enabled=false: nothing is queued");
  const json data = read_event_data(arguments);
  // Judged first, as a refused event makes no store.
  if (const auto reason = EventDraft(config, arguments.type, data).fault()) {
    throw std::runtime_error("invalid event: " + *reason);
  }
  SqliteStore store = open_or_make(config);
  const std::string id =
      QueueingVornHistoryWriter(config, store).try_enqueue(arguments.type, data).event_id;
  if (tool.json) {
    print_json({{"event_id", id}});
  } else {
    print(printable(id) + '\n');
  }
  try {
    finish_output();
  } catch (const std::exception& error) {
    throw std::runtime_error("the event " + id + " is queued, but " + error.what());
  }
  return done;
}

int check(const Tool& tool, const std::string& file) {
  const auto reason = validate_event(parse_envelope(read_input(file)));
  if (tool.json) {
    json verdict = {{"path", file}, {"valid", !reason.has_value()}};
    if (reason) verdict["error"] = *reason;
    print_json(verdict);
  } else if (reason) {
    print(printable(file + ": ") + coloured(Colour::red, "error") + ": " + printable(*reason) +
          '\n');
  } else {
    print(printable(file + ": ") + coloured(Colour::green, "valid") + '\n');
  }
  return reason ? failed : done;
}

int list_types(const Tool& tool) {
  for (const std::string& type : known_event_types()) {
    if (tool.json) {
      print_json({{"type", type}});
    } else {
      print(type + '\n');
    }
  }
  return done;
}

}  // namespace

void add_event_commands(CLI::App& app, Tool& tool) {
  CLI::App& group = add_group(app, "event", "Queue and judge events");

  const auto arguments = std::make_shared<SendArguments>();
  CLI::App& send_command = add_command(
      tool, group, "send", "Queue one event and print its id; an id that is queued already stays",
      [&tool, arguments] { return send(tool, *arguments); });
  add_option(send_command, "TYPE", arguments->type, "One of the types of `event types`",
             {.required = true});
  add_option(send_command, "--level", arguments->level, "info (the default), warning or critical");
  add_option(send_command, "--id", arguments->id, "The event's id, by default a new one");
  add_option(send_command, "--data", arguments->data, "The data of the event", {.word = "JSON"});
  add_option(send_command, "--data-file", arguments->data_file,
             "The same from a file, or - for stdin", {.word = "FILE", .excluded = "--data"});

  const auto file = std::make_shared<std::string>();
  CLI::App& check_command =
      add_command(tool, group, "check", "Judge an event as queue and append command do",
                  [&tool, file] { return check(tool, *file); });
  add_option(check_command, "FILE", *file, "The file with the event, or - for stdin",
             {.required = true});

  add_command(tool, group, "types", "List the types that an event may have",
              [&tool] { return list_types(tool); });
}

}  // namespace zunol_monitoring::ctl
