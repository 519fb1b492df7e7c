// The visitor that renders: it writes the keys of a record as lines of YAML.
#pragma once

#include <concepts>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "config/keys/key_text.h"
#include "config/yaml_text.h"

namespace zunol_monitoring {

/// Appends, behind a key that is written up to its colon, " []" or the items, one a line, and the
/// line end.
void render_string_list(std::string& out, std::size_t indent, const std::vector<std::string>& list);

/// Renders a record on one line, as {key: value, key: value}.
class FlowRenderer {
 public:
  static constexpr bool reading = false;
  static constexpr bool rendering = true;

  explicit FlowRenderer(std::string& out) : out_(out) {}

  void field(const char* key, const auto& value, Untold = {}) {
    out_.append(separator_).append(key).append(": ").append(yaml_value(value));
    separator_ = ", ";
  }
  void duration(const char* key, const std::string& value, Untold = {}) { field(key, value); }

 private:
  std::string& out_;
  const char* separator_ = "";
};

class KeyRenderer {
 public:
  static constexpr bool reading = false;
  static constexpr bool rendering = true;

  /// Renders keys at `indent` blanks. In an item of a list the first key stands behind "- ".
  explicit KeyRenderer(std::string& out, std::size_t indent = 0, bool list_item = false)
      : out_(out), indent_(indent), first_of_item_(list_item) {}

  void field(const char* key, const auto& value, Untold = {}) {
    line(key, " " + yaml_value(value));
  }
  void duration(const char* key, const std::string& value, Untold = {}) { field(key, value); }
  void credential(const char* key, const std::string& value, Untold = {}) { field(key, value); }
  void literal(const char* key, const char* text, Untold = {}) {
    line(key, std::string(" ") + text);
  }
  void alias(const char* /*key*/, const auto&... /*value*/) {}

  void list(const char* key, const std::vector<std::string>& texts, Untold = {}) {
    begin(key);
    render_string_list(out_, indent_ + 2, texts);
  }
  void list_always(const char* key, const std::vector<std::string>& texts, Untold = {}) {
    list(key, texts);
  }

  template <class Record>
  void records(const char* key, const std::vector<Record>& list, Untold = {}) {
    if (list.empty()) {
      line(key, " []");
    } else {
      bare_records(key, list);
    }
  }
  template <class Record>
  void bare_records(const char* key, const std::vector<Record>& list, Untold = {}) {
    line(key, "");
    for (const Record& record : list) {
      KeyRenderer item(out_, indent_ + 4, true);
      visit_keys(item, record);
    }
  }
  template <class Record>
  void kept_records(const char* key, const std::vector<Record>& list, Untold = {}) {
    bare_records(key, list);
  }

  /// An empty line stands before each top-level section.
  template <class Keys>
  void block(const char* key, const Keys& keys, Untold = {}) {
    if (indent_ == 0) out_ += '\n';
    line(key, "");
    KeyRenderer inner(out_, indent_ + 2);
    if constexpr (std::invocable<const Keys&, KeyRenderer&>) {
      keys(inner);
    } else {
      visit_keys(inner, keys);
    }
  }
  template <class Record>
  void flow_block(const char* key, const Record& record, Untold = {}) {
    begin(key);
    out_ += " {";
    FlowRenderer inner(out_);
    visit_keys(inner, record);
    out_ += "}\n";
  }

 private:
  void begin(const char* key) {
    if (first_of_item_) {
      out_.append(indent_ - 2, ' ').append("- ");
      first_of_item_ = false;
    } else {
      out_.append(indent_, ' ');
    }
    out_.append(key).append(":");
  }
  void line(const char* key, const std::string& rest) {
    begin(key);
    out_.append(rest).append("\n");
  }

  std::string& out_;
  std::size_t indent_;
  bool first_of_item_;
};

}  // namespace zunol_monitoring
