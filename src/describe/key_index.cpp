#include "describe/key_index.h"

#include "describe/overlay_variables.h"

namespace zunol_monitoring {

KeyIndex::KeyIndex(const Config& config) : keys_(key_catalogue(config)) {
  for_each_key(keys_, [this](const ConfigKey& key) {
    if (key.place == no_place) return;
    FieldFacts& field = fields_[key.place];
    field.keys.push_back(&key);
    if (key.path == key.home) field.home = &key;
  });
  for_each_key(keys_, [this](const ConfigKey& key) {
    if (key.also == no_place) return;
    auto& keys = fields_[key.also].keys;
    keys.insert(keys.begin(), &key);
  });
  for (const OverlayVariable& variable : overlay_variables()) {
    FieldFacts& field = fields_[variable.place];
    field.variable = variable.name;
    field.variable_used = variable.used;
  }
}

const FieldFacts& KeyIndex::at(FieldPlace place) const {
  static const FieldFacts none;
  const auto found = fields_.find(place);
  return found != fields_.end() ? found->second : none;
}

}  // namespace zunol_monitoring
