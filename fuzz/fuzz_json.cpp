// The text of any value is what the library writes, and that of an event is its tree as text; what
// holds no UTF-8 is refused in the library's words.
#include <nlohmann/json.hpp>

#include "base/json_depth.h"
#include "base/json_text.h"
#include "events/event_draft.h"
#include "fuzz.h"
#include "zunol_monitoring/events/event_envelope.h"

using namespace zunol_monitoring;
using nlohmann::json;

namespace {

void check(const json& value, const std::string& text) {
  if (value.is_discarded() || nested_deeper_than(max_data_depth, value)) return;
  require(outcome([&] { return compact_json(value); }) == outcome([&] { return value.dump(); }));

  Config config;
  config.agent.server_name = text.substr(0, 4);
  for (const std::string& type : {std::string("test_event"), text.substr(0, 8)}) {
    const EventDraft draft(config, type, value);
    const json event = draft.event();
    require(draft.fault() == validate_event(event));
    require(outcome([&] { return draft.text(); }) == outcome([&] { return event.dump(); }));
  }
}

/// A tree with texts that are no UTF-8, as a binary form brings them.
json from_binary(const std::string& bytes) {
  try {
    return json::from_cbor(bytes);
  } catch (const json::exception&) {
    return json::value_t::discarded;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = text_of(data, size);
  check(json::parse(text, nullptr, false), text);
  check(from_binary(text), text);
  check(json::object({{text, text}}), text);
  return 0;
}
