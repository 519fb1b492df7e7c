#include "base/json_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace zunol_monitoring {
namespace {

using nlohmann::json;

constexpr std::size_t usual_size = 512;  // of an event's text, in bytes

bool stands_for_itself(char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; }

/// Nearly every text goes as it is; escapes and UTF-8 are left to the library.
void append_string(std::string& text, const std::string& value) {
  if (std::ranges::all_of(value, stands_for_itself)) {
    text.append(1, '"').append(value).append(1, '"');
  } else {
    text += json(value).dump();
  }
}

void append_value(std::string& text, const json& value) {
  if (const auto* string = value.get_ptr<const std::string*>()) {
    append_string(text, *string);
  } else if (const auto* object = value.get_ptr<const json::object_t*>()) {
    text += '{';
    for (auto member = object->begin(); member != object->end(); ++member) {
      if (member != object->begin()) text += ',';
      append_string(text, member->first);
      text += ':';
      append_value(text, member->second);
    }
    text += '}';
  } else if (const auto* array = value.get_ptr<const json::array_t*>()) {
    text += '[';
    for (auto item = array->begin(); item != array->end(); ++item) {
      if (item != array->begin()) text += ',';
      append_value(text, *item);
    }
    text += ']';
  } else {
    text += value.dump();
  }
}

}  // namespace

std::string compact_json(const json& value) {
  std::string text;
  text.reserve(usual_size);
  append_value(text, value);
  return text;
}

}  // namespace zunol_monitoring
