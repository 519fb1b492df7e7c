#include "describe/mask_credentials.h"

#include <algorithm>
#include <concepts>
#include <string>
#include <string_view>

#include "config/keys/config_keys.h"

namespace zunol_monitoring {
namespace {

void mask_url_passwords(std::string& text) {
  constexpr std::string_view mark = "://";
  for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
    at += mark.size();
    const std::size_t end = std::min(text.find_first_of("/?# \t\n\"'", at), text.size());
    const std::size_t host = text.substr(0, end).rfind('@');
    if (host == std::string::npos || host < at) continue;
    const std::size_t colon = text.substr(0, host).find(':', at);
    const std::size_t begin = colon == std::string::npos ? at : colon + 1;
    text.replace(begin, host - begin, credential_mask);
  }
}

class Masker {
 public:
  static constexpr bool reading = true;
  static constexpr bool rendering = false;

  bool has(const char* /*key*/) const { return true; }  // no field follows another

  void field(const char* /*key*/, std::string& text, Untold = {}) { mask_url_passwords(text); }
  void field(const char* /*key*/, auto& /*value*/, Untold = {}) {}
  void duration(const char* /*key*/, std::string& /*text*/, Untold = {}) {}
  void credential(const char* /*key*/, std::string& text, Untold = {}) {
    if (!text.empty()) text = credential_mask;
  }
  void alias(const char* /*key*/, auto&&... /*value*/) {}
  void literal(const char* /*key*/, const char* /*text*/, Untold = {}) {}
  void list(const char* /*key*/, std::vector<std::string>& texts, Untold = {}) {
    for (std::string& text : texts) mask_url_passwords(text);
  }
  void list_always(const char* key, std::vector<std::string>& texts, Untold = {}) {
    list(key, texts);
  }
  void records(const char* /*key*/, auto& list, Untold = {}) {
    for (auto& item : list) visit_keys(*this, item);
  }
  void bare_records(const char* key, auto& list, Untold = {}) { records(key, list); }
  void kept_records(const char* key, auto& list, Untold = {}) { records(key, list); }
  void block(const char* /*key*/, auto&& keys, Untold = {}) {
    if constexpr (std::invocable<decltype(keys)&, Masker&>) {
      keys(*this);
    } else {
      visit_keys(*this, keys);
    }
  }
  void flow_block(const char* key, auto& record, Untold = {}) { block(key, record); }
};

}  // namespace

Config mask_credentials(Config config) {
  Masker masker;
  visit_keys(masker, config);
  return config;
}

}  // namespace zunol_monitoring
