// The keys, rules and variables of the configuration, joined by the field that they are about.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "describe/key_catalogue.h"

namespace zunol_monitoring {

/// What is known of one field of a Config.
struct FieldFacts {
  /// The keys that feed it, in the order of reading: of those in a file the last one wins.
  std::vector<const ConfigKey*> keys;
  const ConfigKey* home = nullptr;  ///< the key under which it is at home
  std::string variable;             ///< that overrides it, or ""
  bool variable_used = false;       ///< the present environment does so
};

class KeyIndex {
 public:
  /// The keys have their values in `config`.
  explicit KeyIndex(const Config& config);
  KeyIndex(const KeyIndex&) = delete;
  KeyIndex& operator=(const KeyIndex&) = delete;

  const std::vector<ConfigKey>& keys() const { return keys_; }
  /// The facts of a field, which are empty for no_place.
  const FieldFacts& at(FieldPlace place) const;

 private:
  std::vector<ConfigKey> keys_;
  std::map<FieldPlace, FieldFacts> fields_;
};

}  // namespace zunol_monitoring
