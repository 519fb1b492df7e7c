// What a key says to people: its meaning and, where its text is one of a fixed list of words that
// no rule holds it to, those words.
#pragma once

#include <initializer_list>

namespace zunol_monitoring {

using Words = std::initializer_list<const char*>;

/// For visitors that tell it. Lives as long as the call.
struct KeyText {
  KeyText() = default;
  KeyText(const char* key_meaning, Words key_words = {})  // NOLINT(google-explicit-constructor)
      : meaning(key_meaning), words(key_words) {}
  const char* meaning = "";
  Words words;
};

/// For all other visitors. It is made while compiling and is empty, so that no sentence reaches the
/// programs that only load.
struct Untold {
  Untold() = default;
  // NOLINTNEXTLINE(google-explicit-constructor)
  consteval Untold(const char* /*meaning*/, Words /*words*/ = {}) {}
};

// Sentences and words that several keys have in common.

inline constexpr const char* check_enabled = "Whether the agent runs this check";
inline constexpr const char* check_interval = "Time between two runs of the check";
inline constexpr const char* item_name = "Name under which it stands in messages";
inline constexpr const char* request_timeout = "Time after which an unanswered request has failed";
inline constexpr const char* expect_text = "Text that the answer must hold; empty asks for none";
inline constexpr const char* reject_text = "Texts of which the answer must hold none";
inline constexpr const char* warning_block = "Use from which a warning comes, and for how long";
inline constexpr const char* critical_block = "Use from which it is critical, and for how long";
inline constexpr const char* threshold_duration = "Time the value must last before it counts";
inline constexpr const char* used_warning = "Percent in use from which a warning comes";
inline constexpr const char* used_critical = "Percent in use from which it is critical";
inline constexpr const char* certificate_warning =
    "Days before the certificate expires from which a warning comes";
inline constexpr const char* certificate_critical =
    "Days before the certificate expires from which it is critical";
inline constexpr const char* restart_warning =
    "Restarts within the window from which a warning comes";
inline constexpr const char* restart_critical =
    "Restarts within the window from which it is critical";

inline constexpr Words archive_formats = {"tar.zst", "tar.gz"};
inline constexpr Words redaction_modes = {"strict", "normal", "off"};

}  // namespace zunol_monitoring
