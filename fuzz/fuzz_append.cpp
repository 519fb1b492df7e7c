// The append command judges any text as the library's own tree of it is judged, and the marker of
// any id lies directly in the ledger directory.
#include <filesystem>
#include <nlohmann/json.hpp>

#include "append/marker.h"
#include "events/parse_envelope.h"
#include "fuzz.h"
#include "zunol_monitoring/events/event_envelope.h"

using namespace zunol_monitoring;
using nlohmann::json;

namespace {

void require_marker_in_ledger(const std::string& event_id) {
  const std::filesystem::path marker = marker_path({.local_db = "/state/agent.db"}, event_id);
  require(marker.lexically_normal() == marker);
  require(marker.parent_path() == "/state/vorn-bridge-ledger" && marker.extension() == ".ok");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input = text_of(data, size);
  require_marker_in_ledger(input);
  const std::string text = spread(input);
  const auto verdict = [&](auto parse) {
    return outcome([&] { return validate_event(parse(text)).value_or(""); });
  };
  const std::string taken = verdict(parse_envelope);
  require(taken == verdict([](const std::string& json_text) { return json::parse(json_text); }));
  if (taken == "gives ") require_marker_in_ledger(parse_envelope(text)["event_id"]);
  return 0;
}
