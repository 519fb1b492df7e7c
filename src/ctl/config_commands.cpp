// zunol-monitoring-ctl config: the configuration checked, shown and described.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "ctl/config_file.h"
#include "ctl/config_reference.h"
#include "ctl/config_schema.h"
#include "ctl/output.h"
#include "ctl/table.h"
#include "ctl/tool.h"
#include "describe/key_catalogue.h"
#include "describe/key_rules.h"
#include "describe/mask_credentials.h"
#include "describe/overlay_variables.h"
#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/config/load.h"
#include "zunol_monitoring/config/render.h"
#include "zunol_monitoring/config/validate.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

/// The variable that gives each field its value now, by the path of the field's home.
std::map<std::string, std::string> variables_in_use(const std::vector<ConfigKey>& keys) {
  std::map<FieldPlace, std::string> names;
  for (const OverlayVariable& variable : overlay_variables()) {
    if (variable.used) names[variable.place] = variable.name;
  }
  std::map<std::string, std::string> by_home;
  for_each_key(keys, [&](const ConfigKey& key) {
    const auto name = names.find(key.place);
    if (name != names.end()) by_home[key.home] = name->second;
  });
  return by_home;
}

// ---- check

struct Verdict {
  std::optional<std::string> load_error;
  std::vector<Finding> errors;  ///< the broken rules
  std::vector<Finding> warnings;
};

std::vector<std::string> broken_rules(const Config& config) {
  try {
    return validate_config(config);
  } catch (const std::out_of_range&) {
    throw std::runtime_error("a duration has a number of more than 64 bits");
  }
}

/// Each broken rule, with the place in the file where its key has its value from.
std::vector<Finding> place_errors(const std::vector<std::string>& messages,
                                  const std::vector<ConfigKey>& keys, const ConfigFile& file) {
  std::map<FieldPlace, std::string> homes;
  for_each_key(keys, [&](const ConfigKey& key) { homes[key.place] = key.home; });
  const auto variables = variables_in_use(keys);
  const std::vector<KeyRule> rules = key_rules();
  std::vector<Finding> errors;
  for (const std::string& message : messages) {
    Finding& error = errors.emplace_back(Finding{.message = message});
    const auto rule = std::ranges::find(rules, message, &KeyRule::message);
    if (rule == rules.end() || rule->place == no_place) continue;
    const std::string& home = homes[rule->place];
    if (const auto variable = variables.find(home); variable != variables.end()) {
      error.message += " (from the variable " + variable->second + ')';
    } else if (const auto source = file.sources.find(home); source != file.sources.end()) {
      error.line = source->second.line;
      error.column = source->second.column;
      if (source->second.key != home) error.message += " (from " + source->second.key + ')';
    }
  }
  return errors;
}

Verdict judge(const fs::path& path) {
  Verdict verdict;
  try {
    const Config config = load_config(path);
    const std::vector<ConfigKey> keys = key_catalogue(default_config());
    ConfigFile file = examine_config_file(path, keys);
    verdict.errors = place_errors(broken_rules(config), keys, file);
    verdict.warnings = std::move(file.warnings);
    for (const OverlayVariable& variable : overlay_variables()) {
      if (!variable.set || variable.used) continue;
      verdict.warnings.push_back(
          {.message = "the variable " + variable.name + " has no usable value and is ignored"});
    }
  } catch (const std::exception& error) {
    verdict.load_error = error.what();
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
  if (verdict.load_error) return print_error(path.string() + ": " + *verdict.load_error);
  print_findings(path.string(), verdict.errors, coloured(Colour::red, "error"));
  print_findings(path.string(), verdict.warnings, coloured(Colour::yellow, "warning"));
  if (valid) print(printable(path.string()) + ": " + coloured(Colour::green, "valid") + '\n');
}

void print_verdict_json(const fs::path& path, const Verdict& verdict, bool valid) {
  json errors = findings_json(verdict.errors);
  if (verdict.load_error) errors.push_back({{"message", *verdict.load_error}});
  print_json({{"path", path.string()},
              {"valid", valid},
              {"loaded", !verdict.load_error.has_value()},
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
    const bool valid = !verdict.load_error && verdict.errors.empty() &&
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
                 const std::map<std::string, std::string>& variables) {
  if (const auto variable = variables.find(key.home); variable != variables.end()) {
    return {"variable " + variable->second,
            {{"origin", "variable"}, {"variable", variable->second}}};
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

void show_origins(const Tool& tool, const Config& config) {
  const std::vector<ConfigKey> keys = key_catalogue(config);
  const ConfigFile file = examine_config_file(tool.config, keys);
  const auto variables = variables_in_use(keys);
  Table table({"KEY", "ORIGIN", "VALUE"});
  for_each_key(keys, [&](const ConfigKey& key) {
    const bool own_value = key.kind != KeyKind::block && key.kind != KeyKind::unread &&
                           key.path == key.home && key.path.find("[]") == std::string::npos;
    if (!own_value) return;
    Origin origin = origin_of(key, tool.config, file, variables);
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
  Config config = load_config(tool.config);
  if (!arguments.show_secrets) config = mask_credentials(std::move(config));
  if (arguments.origin) {
    show_origins(tool, config);
  } else if (tool.json) {
    print_json(json::parse(catalogue_json(key_catalogue(config))));
  } else {
    print(render_text(config));
  }
  return done;
}

// ---- default

struct DefaultArguments {
  std::string path;
  bool force = false;
};

/// Writes beside `path` and renames, so that the file is there whole or not at all.
void write_default(const fs::path& path) {
  const fs::path temporary = path.string() + ".tmp." + std::to_string(getpid());
  try {
    write_default_config(temporary);
    if (read_text_file(temporary) != render_text(default_config())) {
      throw std::runtime_error("cannot write " + temporary.string());
    }
    fs::rename(temporary, path);
  } catch (...) {
    std::error_code ignored;
    fs::remove(temporary, ignored);
    throw;
  }
}

int print_or_write_default(const Tool& tool, const DefaultArguments& arguments) {
  if (arguments.path.empty() && tool.json) {
    print_json(json::parse(catalogue_json(key_catalogue(default_config()))));
  } else if (arguments.path.empty()) {
    print(render_text(default_config()));
  } else {
    if (!arguments.force && fs::exists(fs::symlink_status(arguments.path))) {
      throw std::runtime_error(arguments.path + " exists already; --force replaces it");
    }
    write_default(arguments.path);
  }
  return done;
}

}  // namespace

void add_config_commands(CLI::App& app, Tool& tool) {
  CLI::App& group = add_group(app, "config", "Check, show and describe the configuration");

  const auto check_arguments = std::make_shared<CheckArguments>();
  CLI::App& check_command = add_command(
      tool, group, "check",
      "Load the configuration and tell every broken rule, and warn about what surely is a "
      "mistake. Ends with 1 if it is not valid",
      [&tool, check_arguments] { return check(tool, *check_arguments); });
  check_command
      .add_option("PATH", check_arguments->paths, "The files; by default that of --config")
      ->type_name("");
  check_command.add_flag("--strict", check_arguments->strict, "Warnings fail, too");

  const auto show_arguments = std::make_shared<ShowArguments>();
  CLI::App& show_command = add_command(
      tool, group, "show", "Print the configuration in effect: defaults, file and environment",
      [&tool, show_arguments] { return show(tool, *show_arguments); });
  show_command.add_flag("--show-secrets", show_arguments->show_secrets,
                        "Print credentials instead of ********");
  show_command.add_flag("--origin", show_arguments->origin, "Tell where each value comes from");

  const auto default_arguments = std::make_shared<DefaultArguments>();
  CLI::App& default_command = add_command(
      tool, group, "default", "Print the default configuration, or write it to a new file",
      [&tool, default_arguments] { return print_or_write_default(tool, *default_arguments); });
  default_command.add_option("PATH", default_arguments->path, "The file to write")->type_name("");
  default_command.add_flag("--force", default_arguments->force, "Replace a file that exists");

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
