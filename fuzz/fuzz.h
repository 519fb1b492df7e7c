// What the fuzz targets share. A target ends by a signal where a promise does not hold.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

inline void require(bool promise) {
  if (!promise) std::abort();
}

inline std::string text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The text that `action` gives, or the message that it raises.
template <class Action>
std::string outcome(Action action) {
  try {
    return "gives " + action();
  } catch (const std::exception& error) {
    require(!std::string_view(error.what()).empty());
    return std::string("raises ") + error.what();
  }
}

/// `input` with 20 letters for each "@"; where it begins with a comma, behind the first member of
/// an object, a long one, so that the text has more than 64 KiB.
inline std::string spread(std::string_view input) {
  std::string text;
  if (input.starts_with(',')) text = R"({"long":{"text":")" + std::string(66000, 'x') + "\"}";
  for (const char c : input) text.append(c == '@' ? 20 : 1, c == '@' ? 'x' : c);
  return text;
}
