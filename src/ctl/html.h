// HTML put together so that no text of others can become a part of it.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace zunol_monitoring::ctl {

/// A piece of a page. Any text becomes one by being escaped: it is made printable, cut to
/// longest_html_text characters, and none of its bytes is read as markup, also within a quoted
/// attribute. Needs set_character_type.
class Html {
 public:
  Html() = default;
  Html(std::string_view text);  // NOLINT(google-explicit-constructor): a text may stand for it
  Html(const std::string& text) : Html(std::string_view(text)) {}
  Html(const char* text) : Html(std::string_view(text)) {}
  /// What is markup already, of this program's own.
  static Html markup(std::string text);

  Html& operator+=(const Html& more) {
    text_ += more.text_;
    return *this;
  }
  bool empty() const { return text_.empty(); }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

inline constexpr std::size_t longest_html_text = 400;

/// The skeleton with each {name} in it replaced by the value of this name, which must be there.
/// Braces within a value are left alone.
Html fill(std::string_view skeleton,
          std::initializer_list<std::pair<std::string_view, Html>> values);

}  // namespace zunol_monitoring::ctl
