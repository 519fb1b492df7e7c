#include "zunol_monitoring/config/validate.h"

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <utility>

#include "config/fixed_secret_files.h"
#include "config/judge.h"
#include "config/rule_book.h"
#include "config/rule_messages.h"
#include "zunol_monitoring/config/duration.h"
#include "zunol_monitoring/config/secret_files.h"

namespace zunol_monitoring {

namespace {

bool among(const std::string& value, Words words) {
  return std::ranges::find(words, value) != words.end();
}

/// HH:MM, two digits each, from 00:00 to 23:59.
bool no_time_of_day(const std::string& text) {
  if (text.size() != 5 || text[2] != ':') return true;
  for (const std::size_t place : {0U, 1U, 3U, 4U}) {
    if (text[place] < '0' || text[place] > '9') return true;
  }
  return text.substr(0, 2) > "23" || text.substr(3) > "59";
}

/// Collects the broken rules, and builds no message of another.
class Judge {
 public:
  Judge(const Config& config, bool raises) : config_(config), raises_(raises) {}

  std::vector<BrokenRule> broken;

  void exactly(const char* name, const int& value, int wanted) {
    if (value != wanted) refuse(name, value, exactly_claim(wanted));
  }
  void one_of(const char* name, const std::string& value, Words words) {
    if (!among(value, words)) refuse(name, value, one_of_claim(words));
  }
  void between(const char* name, const int& value, int low, int high) {
    if (value < low || value > high) refuse(name, value, between_claim(low, high));
  }
  void positive(const char* name, const auto& value, const char* reason = "") {
    if (value <= 0) refuse(name, value, positive_claim, reason);
  }
  void non_negative(const char* name, const int& value) {
    if (value < 0) refuse(name, value, non_negative_claim);
  }
  void required(const char* name, const auto& text, const char* reason = "") {
    if (text.empty()) refuse(name, text, required_claim, reason);
  }
  void not_empty(const char* name, const auto& list, const char* reason = "") {
    if (list.empty()) refuse(name, list, not_empty_claim, reason);
  }
  void positive_duration(const char* name, const std::string& text) {
    try {
      if (parse_duration_seconds(text, 0) < 1) refuse(name, text, positive_duration_claim);
    } catch (const std::out_of_range&) {
      if (raises_) throw;
      refuse(name, text, "has a number of more than 64 bits");
    }
  }
  void time_of_day(const char* name, const std::string& text) {
    if (no_time_of_day(text)) refuse(name, text, time_of_day_claim);
  }
  void https(const char* name, const std::string& url) {
    if (!url.starts_with("https://")) refuse(name, url, https_claim);
  }
  void https_or_empty(const char* name, const std::string& url) {
    if (!url.empty()) https(name, url);
  }
  void existing_file(const char* name, const std::filesystem::path& path) {
    if (!path.empty() && !std::filesystem::exists(path)) {
      refuse(name, path, "not found: " + path.string());
    }
  }
  void private_file(const std::filesystem::path& path) {
    std::vector<std::string> messages;
    check_secret_file_mode(messages, path);
    for (std::string& message : messages) add(std::move(message), {&path});
  }
  void fixed_secret_files() {
    std::vector<std::string> messages;
    check_fixed_secret_files(messages);
    for (std::string& message : messages) add(std::move(message), {});
  }
  void refuse_if(bool is_broken, const char* message, const auto&... fields) {
    if (is_broken) add(message, {&fields...});
  }
  void refuse_item(const auto& list, std::size_t index, const char* message) {
    if (index == no_item) return;
    add(message, {&list});
    broken.back().item = index;
  }

  /// An open gate, until it goes, or a closed one.
  class Gate {
   public:
    Gate(std::vector<const void*>& open, const void* field, bool is_open) : open_(open) {
      if (is_open) open_.push_back(field);
      is_open_ = is_open;
    }
    ~Gate() {
      if (is_open_) open_.pop_back();
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;
    explicit operator bool() const { return is_open_; }

   private:
    std::vector<const void*>& open_;
    bool is_open_ = false;
  };
  Gate when(const bool& field) { return {gates_, &field, field}; }
  Gate unless(const bool& field) { return {gates_, &field, !field}; }
  Gate when(const std::string& text, Words words) { return {gates_, &text, among(text, words)}; }
  Gate unless(const std::string& text, Words words) { return {gates_, &text, !among(text, words)}; }

 private:
  void refuse(const char* name, const auto& field, const std::string& claim,
              const char* reason = "") {
    add(rule_message(name, claim, reason), {&field});
  }
  void add(std::string message, std::initializer_list<const void*> fields) {
    BrokenRule& rule = broken.emplace_back(BrokenRule{.message = std::move(message)});
    for (const void* field : fields) rule.fields.push_back(field_place(config_, field));
    for (auto gate = gates_.rbegin(); gate != gates_.rend(); ++gate) {
      rule.gates.push_back(field_place(config_, *gate));
    }
  }

  const Config& config_;
  const bool raises_;
  std::vector<const void*> gates_;  ///< the fields of the open ones, the innermost last
};

}  // namespace

std::vector<BrokenRule> broken_rules(const Config& config) {
  Judge judge(config, false);
  visit_rules(judge, config);
  return std::move(judge.broken);
}

std::vector<std::string> validate_config(const Config& config) {
  Judge judge(config, true);
  visit_rules(judge, config);
  std::vector<std::string> errors;
  for (BrokenRule& rule : judge.broken) errors.push_back(std::move(rule.message));
  return errors;
}

}  // namespace zunol_monitoring
