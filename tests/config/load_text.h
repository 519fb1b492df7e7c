// What the tests of the configuration share.
#pragma once

#include "tests/support.h"
#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/config/load.h"

/// The configuration of a file with this content, without the path of that file.
inline zunol_monitoring::Config load_text(const std::string& yaml) {
  static const TempDir dir;
  const auto file = dir / "config.yaml";
  std::filesystem::remove(file);  // replacing it would wait for the disk
  zunol_monitoring::write_text_file(file, yaml);
  zunol_monitoring::Config config = zunol_monitoring::load_config(file);
  config.path.clear();
  return config;
}
