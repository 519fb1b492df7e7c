#include "zunol_monitoring/store/severity.h"

#include "base/lower_case.h"

namespace zunol_monitoring {

const char* severity_name(Severity severity) {
  switch (severity) {
    case Severity::Warning:
      return "warning";
    case Severity::Critical:
      return "critical";
    case Severity::Info:
      break;
  }
  return "info";
}

Severity severity_from_name(const std::string& name) {
  const std::string lower = lower_case(name);
  for (const Severity severity : {Severity::Warning, Severity::Critical}) {
    if (lower == severity_name(severity)) return severity;
  }
  return Severity::Info;
}

}  // namespace zunol_monitoring
