#include "ctl/html.h"

#include <algorithm>
#include <stdexcept>

#include "ctl/output.h"

namespace zunol_monitoring::ctl {
namespace {

std::string_view escape(std::string_view character) {
  if (character == "&") return "&amp;";
  if (character == "<") return "&lt;";
  if (character == ">") return "&gt;";
  if (character == "\"") return "&quot;";
  if (character == "'") return "&#39;";
  return character;
}

}  // namespace

Html::Html(std::string_view text) {
  constexpr std::size_t most_bytes = 4 * (longest_html_text + 1);  // of so many characters
  std::size_t characters = 0;
  for_each_character(printable(text.substr(0, most_bytes)), [&](auto, std::string_view bytes) {
    if (++characters <= longest_html_text) text_ += escape(bytes);
  });
  if (characters > longest_html_text) text_ += "…";
}

Html Html::markup(std::string text) {
  Html html;
  html.text_ = std::move(text);
  return html;
}

Html fill(std::string_view skeleton,
          std::initializer_list<std::pair<std::string_view, Html>> values) {
  std::string text;
  while (true) {
    const std::size_t open = skeleton.find('{');
    text += skeleton.substr(0, open);
    if (open == skeleton.npos) return Html::markup(std::move(text));
    skeleton.remove_prefix(open + 1);
    const std::string_view name = skeleton.substr(0, skeleton.find('}'));
    skeleton.remove_prefix(name.size() + 1);
    const auto* found = std::ranges::find(values, name, &std::pair<std::string_view, Html>::first);
    if (found == values.end()) throw std::logic_error("no value for " + std::string(name));
    text += found->second.text();
  }
}

}  // namespace zunol_monitoring::ctl
