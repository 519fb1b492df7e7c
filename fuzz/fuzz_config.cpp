// Any file ends in a configuration or in an exception with a message; and a configuration that was
// rendered once renders to the same bytes after a load.
//
//   cmake --preset fuzz && cmake --build --preset fuzz
//   mkdir -p corpus && cp tests/config/default.yaml corpus && build-fuzz/bin/fuzz-config corpus
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/config/load.h"
#include "zunol_monitoring/config/render.h"
#include "zunol_monitoring/config/validate.h"

using namespace zunol_monitoring;

namespace {

Config load(std::string_view yaml) {
  static const std::string path = "/dev/shm/fuzz-config." + std::to_string(getpid()) + ".yaml";
  write_text_file(path, yaml);
  const auto gone = [](const std::string* file) { std::remove(file->c_str()); };
  const std::unique_ptr<const std::string, decltype(gone)> remove(&path);
  return load_config(path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<std::string> rendered;
  try {
    const Config config = load({reinterpret_cast<const char*>(data), size});
    validate_config(config);
    rendered = render_text(config);
  } catch (const std::exception& error) {
    if (std::string(error.what()).empty()) std::abort();
  }
  // What was rendered must load; outside the handler, so that a failure is found. Only doubles that
  // are no numbers render as what is none in YAML.
  const auto has = [&rendered](const char* word) {
    return rendered && rendered->find(word) != std::string::npos;
  };
  if (rendered && !has(": inf") && !has(": -inf") && !has(": nan") && !has(": -nan")) {
    const std::string again = render_text(load(*rendered));
    if (render_text(load(again)) != again) std::abort();
  }
  return 0;
}
