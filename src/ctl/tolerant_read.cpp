#include "ctl/tolerant_read.h"

#include <yaml-cpp/yaml.h>

#include <limits>
#include <optional>
#include <type_traits>

#include "config/key_reader.h"
#include "config/keys/config_keys.h"
#include "zunol_monitoring/config/overlay.h"

namespace zunol_monitoring::ctl {
namespace {

constexpr std::size_t most_errors = 200;
constexpr std::size_t longest_quote = 60;

constexpr const char* a_block = "a block of keys";
const char* form_of(bool) { return "true or false"; }
const char* form_of(int) { return "a whole number of 32 bits"; }
const char* form_of(std::uint64_t) { return "a whole number of 64 bits without a sign"; }
const char* form_of(double) { return "a number"; }
const char* form_of(const std::string&) { return "a text"; }
const char* form_of(const std::filesystem::path&) { return "a path"; }

std::string what_stands(const YAML::Node& node) {
  if (node.IsSequence()) return "is a list";
  if (node.IsMap()) return "is a block of keys";
  if (!node.IsScalar()) return "has no value";
  std::string text = node.Scalar();
  if (text.size() > longest_quote) {
    std::size_t end = longest_quote;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80) --end;
    text = text.substr(0, end) + "...";
  }
  return "is \"" + text + '"';
}

/// Reads each key as the loader does, by the loader's own reader, and goes on behind a failure.
class TolerantReader {
 public:
  static constexpr bool reading = true;
  static constexpr bool rendering = false;

  /// What a walk shares.
  struct Walk {
    TolerantRead& read;
    std::size_t left_out = 0;  ///< errors beyond the bound
  };

  /// Reads the block `node`, which must live as long as the reader. One that cannot be a block
  /// counts as a wrong value of all its keys.
  TolerantReader(Walk& walk, const YAML::Node& node, std::string path)
      : walk_(walk), node_(node), path_(std::move(path)) {
    if (!node.IsDefined()) return;  // in a block that is none
    if (node.IsScalar()) {
      tell(path_.empty() ? "the document" : path_, a_block, node);
    } else {
      reader_.emplace(node);
    }
  }

  bool has(const char* key) const { return reader_ && reader_->has(key); }

  void field(const char* key, auto& value, Untold = {}) {
    scalar(key, value, form_of(value), [&] { reader_->field(key, value); });
  }
  void duration(const char* key, std::string& value, Untold = {}) { field(key, value); }
  void credential(const char* key, std::string& value, Untold = {}) { field(key, value); }
  void literal(const char* /*key*/, const char* /*text*/, Untold = {}) {}

  void alias(const char* key, auto&& value, Untold = {}) {
    if constexpr (requires { form_of(value); }) {
      field(key, value);
    } else {
      block(key, value);
    }
  }
  template <class Read, class Value>
  void alias(const char* key, Value& value, void (*feed)(Read, Value&)) {
    scalar(key, value, form_of(std::remove_cvref_t<Read>{}),
           [&] { reader_->alias(key, value, feed); });
  }

  void list(const char* key, std::vector<std::string>& texts, Untold = {}) {
    if (!reader_) return spoil(texts);
    const YAML::Node node = reader_->take(key);
    if (!node.IsDefined()) return;
    texts.clear();
    walk_.read.wrong.erase(place(texts));
    if (!node.IsSequence()) return;
    for (const YAML::Node& item : node) {
      try {
        texts.push_back(item.as<std::string>());
      } catch (const YAML::RepresentationException&) {
        tell(path_of(key) + "[]", form_of(std::string()), item);
        spoil(texts);
      }
    }
  }
  void list_always(const char* key, std::vector<std::string>& texts, Untold = {}) {
    if (reader_) texts.clear();
    list(key, texts);
  }

  template <class Record>
  void kept_records(const char* key, std::vector<Record>& list, Untold = {}) {
    if (!reader_) return spoil(list);
    const YAML::Node node = reader_->take(key);
    if (!node.IsDefined() || !node.IsSequence()) return;
    list.clear();
    for (const YAML::Node& item : node) {
      TolerantReader reader(walk_, item, path_of(key) + "[]");
      visit_keys(reader, list.emplace_back());
    }
  }
  template <class Record>
  void records(const char* key, std::vector<Record>& list, Untold = {}) {
    if (reader_) list.clear();
    kept_records(key, list);
  }
  template <class Record>
  void bare_records(const char* key, std::vector<Record>& list, Untold = {}) {
    records(key, list);
  }

  template <class Keys>
  void block(const char* key, Keys&& keys, Untold = {}) {
    const YAML::Node node = reader_ ? reader_->take(key) : YAML::Node(YAML::NodeType::Undefined);
    if (reader_ && !node.IsDefined()) return;
    TolerantReader inner(walk_, node, path_of(key));
    if constexpr (std::invocable<Keys&, TolerantReader&>) {
      keys(inner);
    } else {
      visit_keys(inner, keys);
    }
  }
  template <class Record>
  void flow_block(const char* key, Record& record, Untold = {}) {
    block(key, record);
  }

 private:
  void scalar(const char* key, auto& value, const char* form, auto read) {
    if (!reader_) return spoil(value);
    try {
      read();
    } catch (const YAML::RepresentationException&) {
      tell(path_of(key), form, node_[key]);
      return spoil(value);
    }
    // A second key of the field has made good for a wrong one.
    std::set<FieldPlace>& wrong = walk_.read.wrong;
    if (!wrong.empty() && wrong.contains(place(value)) && has(key)) wrong.erase(place(value));
  }

  /// A field keeps the value that it has, its default mostly, and is noted. What lies in an item of
  /// a list gets a value of which no rule and no warning speaks.
  template <class Value>
  void spoil(Value& value) {
    if (place(value) != no_place) {
      walk_.read.wrong.insert(place(value));
      return;
    }
    if constexpr (std::same_as<Value, std::string>) value = "?";
    if constexpr (std::same_as<Value, double>) value = std::numeric_limits<double>::quiet_NaN();
    if constexpr (std::same_as<Value, int>) value = 0;
  }

  void tell(const std::string& path, const char* form, const YAML::Node& node) {
    if (walk_.read.errors.size() >= most_errors) {
      ++walk_.left_out;
      return;
    }
    const YAML::Mark mark = node.Mark();
    walk_.read.errors.push_back(
        {mark.line + 1, mark.column + 1, path + " must be " + form + ", and " + what_stands(node)});
  }

  FieldPlace place(const auto& value) const { return field_place(walk_.read.config, &value); }
  std::string path_of(const char* key) const { return path_.empty() ? key : path_ + '.' + key; }

  Walk& walk_;
  const YAML::Node& node_;
  std::string path_;
  std::optional<KeyReader> reader_;  ///< none where the block is none
};

}  // namespace

TolerantRead read_tolerantly(const std::string& text, const std::filesystem::path& path) {
  TolerantRead read{.config = default_config()};
  read.config.path = path;
  const YAML::Node root = YAML::Load(text);
  TolerantReader::Walk walk{read};
  TolerantReader reader(walk, root, "");
  visit_keys(reader, read.config);
  if (walk.left_out > 0) {
    read.errors.push_back({.message = "and " + std::to_string(walk.left_out) +
                                      " more values that are not of their types"});
  }
  apply_environment_overlay(read.config);
  return read;
}

}  // namespace zunol_monitoring::ctl
