// Loading a configuration from a text, as from a file that holds it.
#pragma once

#include "base/files.h"
#include "config/load.h"
#include "tests/support.h"

/// The configuration of a file with this content, without the path of that file.
inline zunol_monitoring::Config load_text(const std::string& yaml) {
  static const TempDir dir;
  zunol_monitoring::write_text_file(dir / "config.yaml", yaml);
  zunol_monitoring::Config config = zunol_monitoring::load_config(dir / "config.yaml");
  config.path.clear();
  return config;
}
