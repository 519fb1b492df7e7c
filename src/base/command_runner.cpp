#include "zunol_monitoring/base/command_runner.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "base/wait_status.h"

namespace zunol_monitoring {
namespace {

struct PipeCloser {
  void operator()(std::FILE* pipe) const { pclose(pipe); }
};

}  // namespace

std::string shell_quote(std::string_view text) {
  std::string word = "'";
  for (const char byte : text) {
    if (byte == '\'') {
      word += R"('\'')";
    } else {
      word += byte;
    }
  }
  word += '\'';
  return word;
}

CommandResult run_command(const std::vector<std::string>& arguments) {
  if (arguments.empty()) return {.exit_code = 1, .output = "", .error = "empty command"};

  std::string line;
  for (const std::string& argument : arguments) line += shell_quote(argument) + ' ';
  line += "2>&1";
  // The system takes a line only up to its first zero byte, which would be another line.
  if (line.find('\0') != std::string::npos) throw std::runtime_error("cannot run command");

  std::unique_ptr<std::FILE, PipeCloser> pipe(popen(line.c_str(), "r"));
  if (!pipe) throw std::runtime_error("cannot run command");

  CommandResult result;
  std::array<char, 4096> chunk;
  while (std::fgets(chunk.data(), chunk.size(), pipe.get()) != nullptr) {
    result.output += chunk.data();
  }
  result.exit_code = decode_wait_status(pclose(pipe.release()));
  if (result.exit_code != 0) result.error = result.output;
  return result;
}

int run_shell_line(const std::string& line) {
  return decode_wait_status(std::system(line.c_str()));
}

}  // namespace zunol_monitoring
