// zunol-monitoring-ctl config: the configuration checked, shown and described.
#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "base/private_file.h"
#include "config/judge.h"
#include "config/parse_config.h"
#include "ctl/config_comments.h"
#include "ctl/config_file.h"
#include "ctl/config_reference.h"
#include "ctl/config_schema.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "ctl/surroundings.h"
#include "ctl/table.h"
#include "ctl/thresholds.h"
#include "ctl/tolerant_read.h"
#include "ctl/tool.h"
#include "describe/key_index.h"
#include "describe/mask_credentials.h"
#include "describe/overlay_variables.h"
#include "zunol_monitoring/config/render.h"
#include "zunol_monitoring/config/validate.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

// ---- check

struct Verdict {
  std::optional<std::string> failure;  ///< for which nothing else is known
  bool loaded = false;
  std::vector<Finding> errors;  ///< values that are not of their types, and then broken rules
  std::vector<Finding> warnings;
};

/// The rule is about a field that has no value of its type, in the file or in a variable.
bool is_about_wrong(const BrokenRule& rule, const TolerantRead& read, const KeyIndex& index) {
  return std::ranges::any_of(rule.fields, [&](FieldPlace place) {
    return read.wrong.contains(place) && !index.at(place).variable_used;
  });
}

/// Where a broken rule stands in the file: at the key that gives its field the value, or, where
/// none does, at the next field or gate that the file has.
Finding place_error(const BrokenRule& rule, const KeyIndex& index, const ConfigFile& file) {
  Finding error{.message = rule.message};
  const auto place_at = [&](const Source& source) {
    error.line = source.line;
    error.column = source.column;
  };
  for (const FieldPlace place : rule.fields) {
    const FieldFacts& field = index.at(place);
    if (field.home == nullptr) continue;
    const std::string& home = field.home->path;
    if (field.variable_used) {
      error.message += " (from the variable " + field.variable + ')';
      return error;
    }
    const auto source = file.sources.find(home);
    if (source == file.sources.end()) continue;
    const auto items = file.items.find(home);
    const bool is_item = items != file.items.end() && rule.item < items->second.size();
    place_at(is_item ? items->second[rule.item] : source->second);
    if (source->second.key != home) error.message += " (from " + source->second.key + ')';
    return error;
  }
  for (const FieldPlace gate : rule.gates) {
    const ConfigKey* home = index.at(gate).home;
    const auto source = home == nullptr ? file.sources.end() : file.sources.find(home->path);
    if (source == file.sources.end()) continue;
    place_at(source->second);
    return error;
  }
  return error;
}

Verdict judge(const fs::path& path) {
  Verdict verdict;
  try {
    const std::string text = read_config_text(path);
    TolerantRead read = read_tolerantly(text, path);
    const KeyIndex index(default_config());
    ConfigFile file = examine_config(text, index);
    verdict.loaded = read.errors.empty();
    verdict.errors = std::move(read.errors);
    for (const BrokenRule& rule : broken_rules(read.config)) {
      if (!is_about_wrong(rule, read, index)) {
        verdict.errors.push_back(place_error(rule, index, file));
      }
    }
    verdict.warnings = std::move(file.warnings);
    std::ranges::move(examine_thresholds(read, file), std::back_inserter(verdict.warnings));
    std::ranges::move(examine_surroundings(read.config, file),
                      std::back_inserter(verdict.warnings));
    for (const OverlayVariable& variable : overlay_variables()) {
      if (!variable.set || variable.used) continue;
      verdict.warnings.push_back(
          {.message = "the variable " + variable.name + " has no usable value and is ignored"});
    }
  } catch (const std::exception& error) {
    verdict = {.failure = error.what()};
  }
  return verdict;
}

json findings_json(const std::vector<Finding>& findings) {
  json list = json::array();
  for (const Finding& finding : findings) {
    json item = {{"message", finding.message}};
    if (finding.line > 0) {
      item["line"] = finding.line;
      item["column"] = finding.column;
    }
    list.push_back(item);
  }
  return list;
}

void print_findings(const std::string& path, const std::vector<Finding>& findings,
                    const std::string& kind) {
  for (const Finding& finding : findings) {
    std::string place = printable(path);
    if (finding.line > 0) {
      place += ':' + std::to_string(finding.line) + ':' + std::to_string(finding.column);
    }
    print(place + ": " + kind + ": " + printable(finding.message) + '\n');
  }
}

void print_verdict(const fs::path& path, const Verdict& verdict, bool valid) {
  if (verdict.failure) return print_error(path.string() + ": " + *verdict.failure);
  print_findings(path.string(), verdict.errors, coloured(Colour::red, "error"));
  print_findings(path.string(), verdict.warnings, coloured(Colour::yellow, "warning"));
  if (valid) print(printable(path.string()) + ": " + coloured(Colour::green, "valid") + '\n');
}

void print_verdict_json(const fs::path& path, const Verdict& verdict, bool valid) {
  json errors = findings_json(verdict.errors);
  if (verdict.failure) errors.push_back({{"message", *verdict.failure}});
  print_json({{"path", path.string()},
              {"valid", valid},
              {"loaded", verdict.loaded},
              {"errors", errors},
              {"warnings", findings_json(verdict.warnings)}});
}

struct CheckArguments {
  std::vector<std::string> paths;
  bool strict = false;
};

int check(const Tool& tool, const CheckArguments& arguments) {
  std::vector<fs::path> paths(arguments.paths.begin(), arguments.paths.end());
  if (paths.empty()) paths.push_back(tool.config);
  int status = done;
  for (const fs::path& path : paths) {
    const Verdict verdict = judge(path);
    const bool valid = !verdict.failure && verdict.errors.empty() &&
                       (!arguments.strict || verdict.warnings.empty());
    (tool.json ? print_verdict_json : print_verdict)(path, verdict, valid);
    if (!valid) status = failed;
  }
  return status;
}

// ---- show

struct ShowArguments {
  bool show_secrets = false;
  bool origin = false;
};

struct Origin {
  std::string text = "default";
  json data = {{"origin", "default"}};
};

Origin origin_of(const ConfigKey& key, const fs::path& path, const ConfigFile& file,
                 const KeyIndex& index) {
  const FieldFacts& field = index.at(key.place);
  if (field.variable_used) {
    return {"variable " + field.variable, {{"origin", "variable"}, {"variable", field.variable}}};
  }
  const auto found = file.sources.find(key.home);
  if (found == file.sources.end()) return {};
  const Source& source = found->second;
  Origin origin{path.string() + ':' + std::to_string(source.line),
                {{"origin", "file"},
                 {"path", path.string()},
                 {"line", source.line},
                 {"column", source.column}}};
  if (source.key != key.path) {
    origin.text +=
        source.emptied ? " as " + source.key + " is there without it" : " as " + source.key;
    origin.data["by"] = source.key;
  }
  return origin;
}

void show_origins(const Tool& tool, const Config& config, const std::string& text) {
  const KeyIndex index(config);
  const ConfigFile file = examine_config(text, index);
  Table table({"KEY", "ORIGIN", "VALUE"});
  for_each_key(index.keys(), [&](const ConfigKey& key) {
    const bool own_value = key.kind != KeyKind::block && key.kind != KeyKind::unread &&
                           key.path == key.home && key.path.find("[]") == std::string::npos;
    if (!own_value) return;
    Origin origin = origin_of(key, tool.config, file, index);
    if (tool.json) {
      origin.data["key"] = key.path;
      origin.data["value"] = json::parse(key.value);
      print_json(origin.data);
    } else {
      table.add({key.path, origin.text, key.value});
    }
  });
  if (!tool.json) print(table.text(terminal_width()));
}

int show(const Tool& tool, const ShowArguments& arguments) {
  const std::string text = read_config_text(tool.config);
  Config config = parse_config(text, tool.config);
  if (!arguments.show_secrets) config = mask_credentials(std::move(config));
  if (arguments.origin) {
    show_origins(tool, config, text);
  } else if (tool.json) {
    print_json(json::parse(catalogue_json(key_catalogue(config))));
  } else {
    print_quoted(catalogue_yaml(key_catalogue(config)));
  }
  return done;
}

// ---- default

struct DefaultArguments {
  std::string path;
  bool force = false;
  bool commented = false;
};

int print_or_write_default(const Tool& tool, const DefaultArguments& arguments) {
  const std::vector<ConfigKey> keys = key_catalogue(default_config());
  std::string text = render_text(default_config());
  if (arguments.commented) text = with_meanings(text, keys);
  if (arguments.path.empty() && tool.json) {
    print_json(json::parse(catalogue_json(keys)));
  } else if (arguments.path.empty()) {
    print(text);
  } else {
    if (!arguments.force && fs::exists(fs::symlink_status(arguments.path))) {
      throw std::runtime_error(arguments.path + " exists already; --force replaces it");
    }
    replace_file(arguments.path, text);
  }
  return done;
}

}  // namespace

void add_config_commands(CLI::App& app, Tool& tool) {
  CLI::App& group = add_group(app, "config", "Check, show and describe the configuration");

  const auto check_arguments = std::make_shared<CheckArguments>();
  CLI::App& check_command =
      add_command(tool, group, "check",
                  "Tell every value that is not of its type and every broken rule, and warn about "
                  "what surely is a "
                  "mistake. Ends with 1 if it is not valid",
                  [&tool, check_arguments] { return check(tool, *check_arguments); });
  add_option(check_command, "PATH", check_arguments->paths,
             "The files; by default that of --config");
  add_flag(check_command, "--strict", check_arguments->strict, "Warnings fail, too");

  const auto show_arguments = std::make_shared<ShowArguments>();
  CLI::App& show_command = add_command(
      tool, group, "show", "Print the configuration in effect: defaults, file and environment",
      [&tool, show_arguments] { return show(tool, *show_arguments); });
  add_flag(show_command, "--show-secrets", show_arguments->show_secrets,
           "Print credentials instead of ********");
  add_flag(show_command, "--origin", show_arguments->origin, "Tell where each value comes from");

  const auto default_arguments = std::make_shared<DefaultArguments>();
  CLI::App& default_command = add_command(
      tool, group, "default", "Print the default configuration, or write it to a new file",
      [&tool, default_arguments] { return print_or_write_default(tool, *default_arguments); });
  add_option(default_command, "PATH", default_arguments->path, "The file to write");
  add_flag(default_command, "--commented", default_arguments->commented,
           "Tell above each key what it means; JSON has no comments");
  add_flag(default_command, "--force", default_arguments->force, "Replace a file that exists");

  add_command(tool, group, "schema",
              "Print a JSON Schema (draft 2020-12) of the configuration file, for editors",
              [&tool] {
                print(config_schema().dump(tool.json ? -1 : 2) + '\n');
                return done;
              });
  add_command(tool, group, "reference", "Print the reference of all keys as Markdown", [] {
    print(config_reference());
    return done;
  });
}

}  // namespace zunol_monitoring::ctl
