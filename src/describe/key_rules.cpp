#include "describe/key_rules.h"

#include "config/rule_book.h"
#include "config/rule_messages.h"

namespace zunol_monitoring {
namespace {

using Kind = KeyRule::Kind;

/// Walks the rule book with every gate open and takes down the rules with the gates around them.
class Declarer {
 public:
  Declarer(const Config& config, std::vector<KeyRule>& rules) : config_(config), rules_(rules) {}

  void exactly(const char* name, const int& value, int wanted) {
    add({.kind = Kind::between, .place = place(value), .low = wanted, .high = wanted}, name,
        exactly_claim(wanted));
  }
  void one_of(const char* name, const std::string& value, Words words) {
    add({.kind = Kind::one_of, .place = place(value), .words = {words.begin(), words.end()}}, name,
        one_of_claim(words));
  }
  void between(const char* name, const int& value, int low, int high) {
    add({.kind = Kind::between, .place = place(value), .low = low, .high = high}, name,
        between_claim(low, high));
  }
  void positive(const char* name, const int& value, const char* reason = "") {
    add({.kind = Kind::at_least, .place = place(value), .low = 1}, name, positive_claim, reason);
  }
  void positive(const char* name, const double& value, const char* reason = "") {
    add({.kind = Kind::above_zero, .place = place(value)}, name, positive_claim, reason);
  }
  void non_negative(const char* name, const int& value) {
    add({.kind = Kind::at_least, .place = place(value), .low = 0}, name, non_negative_claim);
  }
  void required(const char* name, const auto& text, const char* reason = "") {
    add({.kind = Kind::not_empty, .place = place(text)}, name, required_claim, reason);
  }
  void not_empty(const char* name, const auto& list, const char* reason = "") {
    add({.kind = Kind::not_empty, .place = place(list)}, name, not_empty_claim, reason);
  }
  void positive_duration(const char* name, const std::string& text) {
    add({.kind = Kind::positive_duration, .place = place(text)}, name, positive_duration_claim);
  }
  void time_of_day(const char* name, const std::string& text) {
    add({.kind = Kind::time_of_day, .place = place(text)}, name, time_of_day_claim);
  }
  void https(const char* name, const std::string& url) {
    add({.kind = Kind::https, .place = place(url)}, name, https_claim);
  }
  void https_or_empty(const char* name, const std::string& url) {
    add({.kind = Kind::https_or_empty, .place = place(url)}, name, https_claim);
  }
  void existing_file(const char* name, const std::filesystem::path& /*path*/) {
    add({.message = rule_message(name, "not found: PATH", "")});
  }
  void private_file(const std::filesystem::path& /*path*/) {
    add({.message = "secret file permissions must be 0600 or stricter: PATH"});
  }
  void fixed_secret_files() {}  // the same message
  void refuse_if(bool /*broken*/, const char* message, const auto&... fields) {
    add({.fields = {place(fields)...}, .message = message});
  }
  void refuse_item(const auto& list, std::size_t /*index*/, const char* message) {
    add({.fields = {place(list)}, .message = message});
  }

  /// An open gate, until it goes.
  class Gate {
   public:
    Gate(std::vector<RuleGate>& gates, RuleGate gate) : gates_(gates) {
      gates_.push_back(std::move(gate));
    }
    ~Gate() { gates_.pop_back(); }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;
    explicit operator bool() const { return true; }

   private:
    std::vector<RuleGate>& gates_;
  };
  Gate when(const bool& field) { return {gates_, {place(field), {}, true}}; }
  Gate unless(const bool& field) { return {gates_, {place(field), {}, false}}; }
  Gate when(const std::string& text, Words words) {
    return {gates_, {place(text), {words.begin(), words.end()}, true}};
  }
  Gate unless(const std::string& text, Words words) {
    return {gates_, {place(text), {words.begin(), words.end()}, false}};
  }

 private:
  FieldPlace place(const auto& field) const { return field_place(config_, &field); }
  void add(KeyRule rule, const char* name, const std::string& claim, const char* reason = "") {
    rule.message = rule_message(name, claim, reason);
    rule.claim = claim;
    add(std::move(rule));
  }
  void add(KeyRule rule) {
    rule.gates = gates_;
    rules_.push_back(std::move(rule));
  }

  const Config& config_;
  std::vector<RuleGate> gates_;
  std::vector<KeyRule>& rules_;
};

}  // namespace

std::vector<KeyRule> key_rules() {
  const Config config;
  std::vector<KeyRule> rules;
  Declarer declarer(config, rules);
  visit_rules(declarer, config);
  return rules;
}

}  // namespace zunol_monitoring
