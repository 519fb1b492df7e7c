// zunol-monitoring-ctl event: events queued by hand, judged, and their types.
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "ctl/event_intake.h"
#include "ctl/event_stream.h"
#include "ctl/input.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "ctl/tool.h"
#include "events/parse_envelope.h"
#include "zunol_monitoring/events/event_envelope.h"

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

json read_event_data(const SendArguments& arguments) {
  json data = json::object();
  if (arguments.data) data = parse_data(*arguments.data);
  if (arguments.data_file) data = parse_data(read_input(*arguments.data_file, largest_event_bytes));
  return event_data(std::move(data), arguments.level, arguments.id);
}

void tell_dropped_keys(const json& data) {
  for (const std::string& key : dropped_keys(data)) {
    print_error("the key " + key + " of the data is dropped: the event has it from elsewhere");
  }
}

int send(const Tool& tool, const SendArguments& arguments) {
  const Config config = read_config(tool.config);
  if (!config.vorn.enabled) throw std::runtime_error("vorn.enabled=false: nothing is queued");
  const json data = read_event_data(arguments);
  require_good_event(config, arguments.type, data);  // first, as a refused event makes no store
  tell_dropped_keys(data);
  SqliteStore store = open_or_make(config);
  const QueuedEvent event = queue_event(config, store, arguments.type, data);
  if (tool.json) {
    print_json({{"event_id", event.event_id}, {"queued", event.queued}});
  } else {
    print(printable(event.event_id) + '\n');
    if (!event.queued) print_error("an event of this id is queued already, and stays as it is");
  }
  try {
    finish_output();
  } catch (const std::exception& error) {
    throw std::runtime_error("the event " + event.event_id + " is queued, but " + error.what());
  }
  return done;
}

int check(const Tool& tool, const std::string& file) {
  const auto reason = validate_event(parse_envelope(read_input(file, largest_event_bytes)));
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
  add_option(send_command, "--data", arguments->data,
             "The data of the event; level, event_id and created_at in it are the event's own, and "
             "schema, agent_id, project_id, server_name and type are dropped",
             {.word = "JSON"});
  add_option(send_command, "--data-file", arguments->data_file,
             "The same from a file, or - for stdin", {.word = "FILE", .excluded = "--data"});

  const auto file = std::make_shared<std::string>();
  CLI::App& check_command =
      add_command(tool, group, "check", "Judge an event as queue and append command do",
                  [&tool, file] { return check(tool, *file); });
  add_option(check_command, "FILE", *file, "The file with the event, or - for stdin",
             {.required = true});

  add_stream_command(group, tool);
  add_command(tool, group, "types", "List the types that an event may have",
              [&tool] { return list_types(tool); });
}

}  // namespace zunol_monitoring::ctl
