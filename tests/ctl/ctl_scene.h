// Runs of zunol-monitoring-ctl on a configuration and a store of their own.
#pragma once

#include <algorithm>

#include "tests/process.h"

struct CtlScene {
  TempDir dir;
  std::map<std::string, std::string> environment = {
      {"PATH", "/usr/bin:/bin"}, {"ZUNOL_MONITORING_CONFIG", dir / "config.yaml"}};

  void write(const std::string& name, const std::string& text) const {
    zunol_monitoring::write_text_file(dir / name, text);
  }
  /// Writes a configuration with a store in the scene's directory and these further lines.
  void configure(const std::string& yaml = "") const {
    write("config.yaml", "storage: {local_db: " + (dir / "state/agent.db").string() + "}\n" + yaml);
  }
  ProcessResult run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), ZUNOL_BIN_DIR "/zunol-monitoring-ctl");
    return run_process(arguments, environment);
  }
  /// Runs a shell line in which $ctl is the tool and $dir the scene's directory.
  ProcessResult run_line(const std::string& line) const {
    auto variables = environment;
    variables["ctl"] = ZUNOL_BIN_DIR "/zunol-monitoring-ctl";
    variables["dir"] = dir / "";
    return run_process({"/bin/sh", "-c", line}, variables);
  }
};

/// The run failed with this status, printed nothing, and said one line on standard error with
/// `part` in it.
inline void expect_one_error(const ProcessResult& result, int status, const std::string& part) {
  EXPECT_EQ(result.status, status) << part << ": " << result.err;
  EXPECT_EQ(result.out, "") << part;
  EXPECT_TRUE(result.err.starts_with("zunol-monitoring-ctl: ")) << result.err;
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  EXPECT_TRUE(result.err.ends_with('\n')) << result.err;
  EXPECT_NE(result.err.find(part), std::string::npos) << result.err << " lacks " << part;
}
