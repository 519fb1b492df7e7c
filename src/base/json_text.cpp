#include "base/json_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace zunol_monitoring {
namespace {

using nlohmann::json;

constexpr std::size_t usual_size = 512;  // of an event's text, in bytes

bool stands_for_itself(char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; }

/// Not inlined, as the library's buffers would stand in each level of the recursion.
[[gnu::noinline]] void append_by_library(std::string& text, const json& value) {
  text += value.dump();
}

}  // namespace

/// Nearly every text goes as it is; escapes and UTF-8 are left to the library.
void append_json_string(std::string& text, std::string_view value) {
  if (std::ranges::all_of(value, stands_for_itself)) {
    text.append(1, '"').append(value).append(1, '"');
  } else {
    append_by_library(text, value);
  }
}

void append_compact_json(std::string& text, const json& value) {
  if (const auto* string = value.get_ptr<const std::string*>()) {
    append_json_string(text, *string);
  } else if (const auto* object = value.get_ptr<const json::object_t*>()) {
    text += '{';
    for (auto member = object->begin(); member != object->end(); ++member) {
      if (member != object->begin()) text += ',';
      append_json_string(text, member->first);
      text += ':';
      append_compact_json(text, member->second);
    }
    text += '}';
  } else if (const auto* array = value.get_ptr<const json::array_t*>()) {
    text += '[';
    for (auto item = array->begin(); item != array->end(); ++item) {
      if (item != array->begin()) text += ',';
      append_compact_json(text, *item);
    }
    text += ']';
  } else {
    append_by_library(text, value);
  }
}

std::string compact_json(const json& value) {
  std::string text;
  text.reserve(usual_size);
  append_compact_json(text, value);
  return text;
}

}  // namespace zunol_monitoring
