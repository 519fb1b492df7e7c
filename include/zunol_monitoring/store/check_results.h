// The results of checks over time, with labels: the table check_results. It only grows, until
// compaction cuts it to its newest rows.
#pragma once

#include <map>
#include <string>

#include "zunol_monitoring/store/severity.h"

namespace zunol_monitoring {

enum class CheckStatus { Ok = 0, Failed = 1 };

/// The text in the database: "ok", or "failed" for any other value. Reading, only the exact text
/// "failed" is Failed.
const char* check_status_name(CheckStatus status);

/// One row, without its id.
struct CheckResult {
  std::string check_type;
  std::string check_name;
  std::string target;
  CheckStatus state = CheckStatus::Ok;
  Severity level = Severity::Info;
  std::string message;
  double value = 0;
  /// Stored as one JSON object of strings. Of what someone else stored there, a member that is no
  /// string reads as its JSON text (one that is nested more than 500 levels deep is left out), and
  /// a text that is no JSON object as no labels.
  std::map<std::string, std::string> labels;
  std::string created_at;  ///< the caller's, also when the result is stored
  friend bool operator==(const CheckResult&, const CheckResult&) = default;
};

}  // namespace zunol_monitoring
