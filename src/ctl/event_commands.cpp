// zunol-monitoring-ctl event: events queued by hand, judged, and their types.
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "ctl/input.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "ctl/tool.h"
#include "events/event_draft.h"
#include "events/parse_envelope.h"
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

/// An event has some dozens; each takes up to a hundred bytes of memory.
constexpr std::size_t most_values = 1'000'000;

/// With a longer one no file system takes the name of the event's marker.
constexpr std::size_t longest_id_bytes = 252;

/// How many values a JSON text has at most, told by its punctuation without building them.
std::size_t count_values(const std::string& text) {
  std::size_t count = 1;
  bool in_string = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') in_string = !in_string;
    if (in_string && text[i] == '\\') ++i;
    if (!in_string && (text[i] == ',' || text[i] == '[' || text[i] == '{')) ++count;
  }
  return count;
}

json read_data(const SendArguments& arguments) {
  if (!arguments.data && !arguments.data_file) return json::object();
  const std::string text =
      arguments.data ? *arguments.data : read_input(*arguments.data_file, largest_event_bytes);
  if (count_values(text) > most_values) {
    throw std::runtime_error("the data has more than " + std::to_string(most_values) + " values");
  }
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
  const Config config = read_config(tool.config);
  if (!config.vorn.enabled) throw std::runtime_error("vorn.enabled=false: nothing is queued");
  const json data = read_event_data(arguments);
  // Judged first, as a refused event makes no store.
  const EventDraft draft(config, arguments.type, data);
  if (const auto reason = draft.fault()) throw std::runtime_error("invalid event: " + *reason);
  if (draft.event_id().size() > longest_id_bytes) {
    throw std::runtime_error("the id is longer than " + std::to_string(longest_id_bytes) +
                             " bytes, and no marker could have its name");
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
