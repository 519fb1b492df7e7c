// The configuration file described for editors.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace zunol_monitoring::ctl {

/// A JSON Schema (draft 2020-12) of the configuration file, made of the catalogue of keys and the
/// rules about a single key. Whatever it refuses, load_config or validate_config refuse too, as
/// long as no variable overrides the file: it admits all forms in which the loader takes a value,
/// unknown keys, and values that no open gate or that another key for the same field leaves without
/// effect.
nlohmann::json config_schema();

}  // namespace zunol_monitoring::ctl
