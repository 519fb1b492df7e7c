// Runs of zunol-monitoring-ctl on a configuration and a store of their own.
#pragma once

#include <nlohmann/json.hpp>

#include "tests/process.h"

struct CtlScene {
  TempDir dir;
  std::filesystem::path db = dir / "state/agent.db";
  std::map<std::string, std::string> environment = {
      {"PATH", "/usr/bin:/bin"},
      {"ZUNOL_MONITORING_CONFIG", dir / "config.yaml"},
      {"ctl", ZUNOL_BIN_DIR "/zunol-monitoring-ctl"},
      {"dir", dir / ""}};

  void write(const std::string& name, const std::string& text) const {
    zunol_monitoring::write_text_file(dir / name, text);
  }
  /// Writes a configuration with a store in the scene's directory and these further lines.
  void configure(const std::string& yaml = "") const {
    write("config.yaml", "storage: {local_db: " + db.string() + "}\n" + yaml);
  }
  /// Runs a shell line in which $ctl is the tool and $dir the scene's directory.
  ProcessResult sh(const std::string& line) const {
    return run_process({"/bin/sh", "-c", line}, environment);
  }
  /// Runs the tool with these words, which the shell expands.
  ProcessResult ctl(const std::string& words) const { return sh("\"$ctl\" " + words); }

  /// What the tool prints; it ends with `status`, and says nothing else.
  std::string out(const std::string& words, int status = 0) const {
    const ProcessResult result = ctl(words);
    EXPECT_EQ(result.status, status) << words << result.err;
    EXPECT_EQ(result.err, "") << words;
    return result.out;
  }
  nlohmann::json json_out(const std::string& words) const {
    return nlohmann::json::parse(out(words + " --json"));
  }
  /// The texts of a key in each line of JSON, with a blank after each.
  std::string each(const std::string& words, const std::string& key) const {
    std::string texts;
    for (const std::string& line : lines_of(out(words + " --json"))) {
      texts += nlohmann::json::parse(line)[key].get<std::string>() + ' ';
    }
    return texts;
  }

  /// The run failed with this status, printed nothing, and said one line on standard error with
  /// `part` in it.
  static void expect_one_error(const ProcessResult& result, int status, const std::string& part) {
    EXPECT_EQ(result.status, status) << part << ": " << result.err;
    EXPECT_EQ(result.out, "") << part;
    EXPECT_TRUE(result.err.starts_with("zunol-monitoring-ctl: ")) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    expect_parts(result.err, {part});
  }
  void expect_one_error(const std::string& words, int status, const std::string& part) const {
    expect_one_error(ctl(words), status, part);
  }
  /// The same for each row of a table: words => part.
  void expect_errors(const std::string& command, int status, const std::string& table) const {
    for (const Texts& row : rows_of(table, "=>")) {
      expect_one_error(command + row.at(0), status, row.at(1));
    }
  }
};

struct Ctl : testing::Test, CtlScene {};
