// The process's one log. Every line goes to standard error and, when a log file is set, to that
// file.
#pragma once

#include <filesystem>
#include <string>

namespace zunol_monitoring {

enum class LogLevel { Debug = 0, Info = 1, Warn = 2, Error = 3 };

/// The name of the level in a line: "DEBUG", "INFO", "WARN" or "ERROR"; "INFO" for any other value.
const char* log_level_name(LogLevel level);

/// Writes one line: the time in the form of utc_timestamp_iso(), the level's name and the message,
/// with one blank between them and nothing escaped; or, after set_log_json(true), one JSON object
/// with the keys level, message and ts. Debug lines are dropped unless set_log_debug(true). Any
/// thread may call it, and lines never mix.
///
/// A log file that cannot be opened is skipped for this line. Raises the file-system library's
/// error when the directory of the log file cannot be made (standard error has the line then), and
/// the JSON library's error for a message that is no UTF-8 (nothing is written then).
void log_message(LogLevel level, const std::string& message);

// For the start of the process, before a second thread logs.
void set_log_json(bool enabled);
void set_log_debug(bool enabled);
/// The file is opened anew for each line, so that it can be moved away at any time. The empty path
/// ends the logging into a file.
void set_log_file(const std::filesystem::path& path);

}  // namespace zunol_monitoring
