// The operator's check has an answer to every text that is YAML: what is not of its type where the
// loader fails, the same configuration where it does not, warnings in the order of the text, and
// for each value the key that gives it.
#include <utility>
#include <vector>

#include "config/parse_config.h"
#include "ctl/config_file.h"
#include "ctl/tolerant_read.h"
#include "fuzz.h"
#include "zunol_monitoring/config/load.h"

using namespace zunol_monitoring;

namespace {

bool in_order(const ctl::Finding& warning, const ctl::Finding& next) {
  return next.line == 0 ||
         std::pair(warning.line, warning.column) <= std::pair(next.line, next.column);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const KeyIndex index(default_config());
  const std::string text = text_of(data, size);
  const auto values = [](const Config& config) { return catalogue_json(key_catalogue(config)); };
  ctl::TolerantRead read;
  const std::string told = outcome([&] {
    read = ctl::read_tolerantly(text, "fuzz.yaml");
    return values(read.config);
  });
  const std::string loaded = outcome([&] { return values(parse_config(text, "fuzz.yaml")); });
  if (read.errors.empty()) {
    require(told == loaded);
  } else {
    const ctl::Finding& first = read.errors.front();
    require(loaded.find("line " + std::to_string(first.line) + ", column " +
                        std::to_string(first.column) + ':') != std::string::npos);
  }
  if (told.starts_with("raises ")) return 0;
  // Not in a handler, so that an exception is found.
  const ctl::ConfigFile file = ctl::examine_config(text, index);
  for (std::size_t i = 0; i < file.warnings.size(); ++i) {
    const ctl::Finding& warning = file.warnings[i];
    require(!warning.message.empty());
    require(i == 0 || in_order(file.warnings[i - 1], warning));
  }
  for (const auto& entry : file.sources) {
    bool known = false;
    for_each_key(index.keys(), [&](const ConfigKey& key) { known |= key.home == entry.first; });
    const ctl::Source& source = entry.second;
    require(known && source.line > 0 && source.column > 0 && !source.key.empty());
  }
  return 0;
}
