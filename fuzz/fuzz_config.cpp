// Any file ends in a configuration or in an exception with a message; and a configuration that was
// rendered once renders to the same bytes after a load.
//
//   cmake --preset fuzz && cmake --build --preset fuzz
//   mkdir -p corpus && cp tests/config/default.yaml corpus && build-fuzz/bin/fuzz-config corpus
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>

#include "base/files.h"
#include "config/load.h"
#include "config/render.h"
#include "config/validate.h"

using namespace zunol_monitoring;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = "/tmp/fuzz-config." + std::to_string(getpid()) + ".yaml";
  write_text_file(path, {reinterpret_cast<const char*>(data), size});
  try {
    const Config config = load_config(path);
    validate_config(config);
    const std::string once = render_text(config);
    write_text_file(path, once);
    const std::string twice = render_text(load_config(path));
    write_text_file(path, twice);
    if (render_text(load_config(path)) != twice) std::abort();
  } catch (const std::exception& error) {
    if (std::string(error.what()).empty()) std::abort();
  }
  return 0;
}
