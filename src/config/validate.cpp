#include "zunol_monitoring/config/validate.h"

#include <algorithm>
#include <filesystem>

#include "config/fixed_secret_files.h"
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

/// Collects the messages of the broken rules, and builds no other.
class Judge {
 public:
  explicit Judge(std::vector<std::string>& errors) : errors_(errors) {}

  void exactly(const char* name, int value, int wanted) {
    if (value != wanted) refuse(name, exactly_claim(wanted));
  }
  void one_of(const char* name, const std::string& value, Words words) {
    if (!among(value, words)) refuse(name, one_of_claim(words));
  }
  void between(const char* name, int value, int low, int high) {
    if (value < low || value > high) refuse(name, between_claim(low, high));
  }
  void positive(const char* name, auto value, const char* reason = "") {
    if (value <= 0) refuse(name, positive_claim, reason);
  }
  void non_negative(const char* name, int value) {
    if (value < 0) refuse(name, non_negative_claim);
  }
  void required(const char* name, const auto& text, const char* reason = "") {
    if (text.empty()) refuse(name, required_claim, reason);
  }
  void not_empty(const char* name, const auto& list, const char* reason = "") {
    if (list.empty()) refuse(name, not_empty_claim, reason);
  }
  void positive_duration(const char* name, const std::string& text) {
    if (parse_duration_seconds(text, 0) < 1) refuse(name, positive_duration_claim);
  }
  void time_of_day(const char* name, const std::string& text) {
    if (no_time_of_day(text)) refuse(name, time_of_day_claim);
  }
  void https(const char* name, const std::string& url) {
    if (!url.starts_with("https://")) refuse(name, https_claim);
  }
  void https_or_empty(const char* name, const std::string& url) {
    if (!url.empty()) https(name, url);
  }
  void existing_file(const char* name, const std::filesystem::path& path) {
    if (!path.empty() && !std::filesystem::exists(path)) {
      refuse(name, "not found: " + path.string());
    }
  }
  void private_file(const std::filesystem::path& path) { check_secret_file_mode(errors_, path); }
  void fixed_secret_files() { check_fixed_secret_files(errors_); }
  void refuse_if(bool broken, const char* message) {
    if (broken) errors_.emplace_back(message);
  }

  static bool when(bool field) { return field; }
  static bool unless(bool field) { return !field; }
  static bool when(const std::string& text, Words words) { return among(text, words); }
  static bool unless(const std::string& text, Words words) { return !among(text, words); }

 private:
  void refuse(const char* name, const std::string& claim, const char* reason = "") {
    errors_.push_back(rule_message(name, claim, reason));
  }

  std::vector<std::string>& errors_;
};

}  // namespace

std::vector<std::string> validate_config(const Config& config) {
  std::vector<std::string> errors;
  Judge judge(errors);
  visit_rules(judge, config);
  return errors;
}

}  // namespace zunol_monitoring
