#include "events/parse_envelope.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "events/shorten_strings.h"

namespace zunol_monitoring {
namespace {

using nlohmann::json;

constexpr std::size_t small_size = 65536;  // of a text that is parsed in next to no time

/// Takes what the parser finds and keeps the document itself and its direct members.
class EnvelopeBuilder {
 public:
  json document;

  bool null() { return keep(nullptr); }
  bool boolean(bool value) { return keep(value); }
  bool number_integer(json::number_integer_t value) { return keep(value); }
  bool number_unsigned(json::number_unsigned_t value) { return keep(value); }
  bool number_float(json::number_float_t value, const std::string&) { return keep(value); }
  bool string(std::string& value) { return keep(std::move(value)); }
  bool binary(json::binary_t&) { return true; }  // JSON text has none
  bool start_object(std::size_t) { return enter(json::object()); }
  bool start_array(std::size_t) { return enter(json::array()); }
  bool end_object() { return leave(); }
  bool end_array() { return leave(); }
  bool key(std::string& name) {
    if (depth_ == 1) member_ = &document[std::move(name)];
    return true;
  }
  template <class Error>
  bool parse_error(std::size_t, const std::string&, const Error& error) {
    throw error;
  }

 private:
  template <class Value>
  bool keep(Value&& value) {
    if (depth_ == 0) {
      document = std::forward<Value>(value);
    } else if (depth_ == 1 && document.is_object()) {
      *member_ = std::forward<Value>(value);
    }
    return true;
  }
  bool enter(json container) {
    keep(std::move(container));
    ++depth_;
    return true;
  }
  bool leave() {
    --depth_;
    return true;
  }

  std::size_t depth_ = 0;
  json* member_ = nullptr;  ///< the one whose key came last
};

json parse(std::string_view text) {
  EnvelopeBuilder builder;
  json::sax_parse(text.data(), text.data() + text.size(), &builder);
  return std::move(builder.document);
}

}  // namespace

json parse_envelope(std::string_view text) {
  if (text.size() > small_size) {
    try {
      if (const auto shortened = shorten_strings(text, small_size)) return parse(*shortened);
    } catch (const json::exception&) {
      // The whole text tells the fault.
    }
  }
  return parse(text);
}

}  // namespace zunol_monitoring
