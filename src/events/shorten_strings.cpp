#include "events/shorten_strings.h"

#include <algorithm>
#include <cstddef>

namespace zunol_monitoring {
namespace {

constexpr std::ptrdiff_t block_size = 8;

/// Looks at each of the bytes in any case, so that the compiler takes them at once.
bool begins_with_plain_block(const char* at, const char* end) {
  if (end - at < block_size) return false;
  bool plain = true;
  for (const char* byte = at; byte != at + block_size; ++byte) {
    plain &= *byte >= ' ' && *byte <= '~' && *byte != '"' && *byte != '\\';
  }
  return plain;
}

}  // namespace

std::optional<std::string> shorten_strings(std::string_view text, std::size_t free_size) {
  const char* at = text.data();
  const char* const end = at + text.size();

  std::string copy;
  const char* copied = at;       // up to where
  const char* string = nullptr;  // the open one
  std::ptrdiff_t longest = 0;
  std::ptrdiff_t depth = 0;
  while (at != end) {
    if (string != nullptr && depth > 1 && begins_with_plain_block(at, end)) {
      at += block_size;
      copy.append(copied, at);
      while (begins_with_plain_block(at, end)) at += block_size;
      copied = at;
      longest = std::max(longest, at - string);
    } else {
      if (*at == '"') string = string == nullptr ? at : nullptr;
      if (*at == '\\' && end - at > 1) ++at;
      if (string == nullptr && (*at == '{' || *at == '[')) ++depth;
      if (string == nullptr && (*at == '}' || *at == ']')) --depth;
      ++at;
    }
    const std::size_t size = copy.size() + static_cast<std::size_t>(at - copied);
    if (size > free_size + static_cast<std::size_t>(longest / 2)) return std::nullopt;
  }
  return copy.append(copied, end);
}

}  // namespace zunol_monitoring
