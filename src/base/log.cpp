#include "zunol_monitoring/base/log.h"

#include <fstream>
#include <iostream>
#include <mutex>
#include <nlohmann/json.hpp>

#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/base/files.h"

namespace zunol_monitoring {
namespace {

struct Logger {
  bool json = false;
  bool debug = false;
  std::filesystem::path file;
  std::mutex mutex;
};

Logger& logger() {
  static Logger instance;
  return instance;
}

std::string format_line(LogLevel level, const std::string& message) {
  if (!logger().json) {
    return utc_timestamp_iso() + ' ' + log_level_name(level) + ' ' + message + '\n';
  }
  const nlohmann::json line = {
      {"ts", utc_timestamp_iso()}, {"level", log_level_name(level)}, {"message", message}};
  return line.dump() + '\n';
}

}  // namespace

const char* log_level_name(LogLevel level) {
  switch (level) {
    case LogLevel::Debug:
      return "DEBUG";
    case LogLevel::Warn:
      return "WARN";
    case LogLevel::Error:
      return "ERROR";
    case LogLevel::Info:
      break;
  }
  return "INFO";
}

void log_message(LogLevel level, const std::string& message) {
  if (level == LogLevel::Debug && !logger().debug) return;
  const std::lock_guard lock(logger().mutex);
  const std::string line = format_line(level, message);
  std::cerr.clear();  // one write that failed, on a full pipe or disk, must not silence the rest
  std::cerr.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
  if (logger().file.empty()) return;
  ensure_parent_directory(logger().file);
  std::ofstream(logger().file, std::ios::binary | std::ios::app) << line;
}

void set_log_json(bool enabled) { logger().json = enabled; }

void set_log_debug(bool enabled) { logger().debug = enabled; }

void set_log_file(const std::filesystem::path& path) { logger().file = path; }

}  // namespace zunol_monitoring
