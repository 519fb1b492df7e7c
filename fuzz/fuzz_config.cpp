// Any file ends in a configuration or in an exception with a message; and a configuration that was
// rendered once renders to the same bytes after a load.
#include <exception>
#include <optional>
#include <string>

#include "config/parse_config.h"
#include "fuzz.h"
#include "zunol_monitoring/config/render.h"
#include "zunol_monitoring/config/validate.h"

using namespace zunol_monitoring;

namespace {

Config load(const std::string& yaml) { return parse_config(yaml, "fuzz.yaml"); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<std::string> rendered;
  try {
    const Config config = load(text_of(data, size));
    validate_config(config);
    rendered = render_text(config);
  } catch (const std::exception& error) {
    require(!std::string_view(error.what()).empty());
  }
  // What was rendered must load; outside the handler, so that a failure is found. Only doubles that
  // are no numbers render as what is none in YAML.
  const auto has = [&rendered](const char* word) {
    return rendered && rendered->find(word) != std::string::npos;
  };
  if (rendered && !has(": inf") && !has(": -inf") && !has(": nan") && !has(": -nan")) {
    const std::string again = render_text(load(*rendered));
    require(render_text(load(again)) == again);
  }
  return 0;
}
