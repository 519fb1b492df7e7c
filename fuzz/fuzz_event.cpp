// Any text is an event to parse_envelope exactly when it is JSON to the library, with the same top
// level; and what is refused is refused in the library's words. The same holds for a text whose
// long strings are shortened, but for the place of a fault.
#include <nlohmann/json.hpp>
#include <vector>

#include "events/parse_envelope.h"
#include "events/shorten_strings.h"
#include "fuzz.h"

using namespace zunol_monitoring;
using nlohmann::json;

namespace {

/// The value with its direct members, in a form that tells numbers and their kinds apart.
std::string top_level(json value) {
  if (value.is_array()) value.clear();
  for (json& member : value) {
    if (member.is_structured()) member.clear();
  }
  const std::vector<std::uint8_t> bytes = json::to_cbor(value);
  return {bytes.begin(), bytes.end()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = spread(text_of(data, size));
  const std::string whole = outcome([&] { return top_level(json::parse(text)); });
  require(whole == outcome([&] { return top_level(parse_envelope(text)); }));
  // What parse_envelope does with large texts.
  const std::string shortened =
      outcome([&] { return top_level(json::parse(*shorten_strings(text, text.size()))); });
  require(whole.starts_with("raises ") ? shortened.starts_with("raises ") : shortened == whole);
  return 0;
}
