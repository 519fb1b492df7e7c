// Which field of a Config is meant: keys, rules and variables are declared apart from each other
// and meet in the field that they are about.
#pragma once

#include <cstddef>
#include <cstdint>

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

/// Bytes from the beginning of a Config to the field.
using FieldPlace = std::ptrdiff_t;

/// The place of what lies in no Config itself: a field of an item of a list, a local value.
inline constexpr FieldPlace no_place = -1;

/// The place of `field` in `config`, or no_place. Compares addresses as numbers, as the field may
/// lie in another object.
inline FieldPlace field_place(const Config& config, const void* field) {
  const auto begin = reinterpret_cast<std::uintptr_t>(&config);
  const auto at = reinterpret_cast<std::uintptr_t>(field);
  const bool inside = at >= begin && at < begin + sizeof(Config);
  return inside ? static_cast<FieldPlace>(at - begin) : no_place;
}

}  // namespace zunol_monitoring
