// What each key says to the person who sets it.
#include <gtest/gtest.h>

#include <cctype>

#include "describe/key_catalogue.h"
#include "describe/key_rules.h"

using namespace zunol_monitoring;

TEST(KeyMeanings, AreOneSentenceForEachKey) {
  const auto catalogue = key_catalogue(default_config());
  int keys = 0;
  for_each_key(catalogue, [&](const ConfigKey& key) {
    ++keys;
    ASSERT_NE(key.meaning, "") << key.path << " has no meaning";
    EXPECT_TRUE(std::isupper(static_cast<unsigned char>(key.meaning.front())) != 0) << key.path;
    EXPECT_FALSE(key.meaning.ends_with('.')) << key.path;
    EXPECT_EQ(key.meaning.find('|'), std::string::npos) << key.path << " would end its column";
    EXPECT_LE(key.meaning.size(), 110U) << key.path;
  });
  EXPECT_GT(keys, 350);
}

TEST(KeyMeanings, NameTheHomeOfASecondKeyAndTheWords) {
  const auto catalogue = key_catalogue(default_config());
  const struct {
    const char* path;
    const char* meaning;  ///< its beginning
    std::vector<std::string> words;
  } rows[] = {
      {"telegram.service_url", "Another name of telegram.api_base", {}},
      {"remote_actions.ttl_seconds", "Another name of monitoring_commands.timeout_sec", {}},
      {"telegram.commands.poll_limit", "Another name of telegram_commands.poll_limit", {}},
      {"checks.load.warning.per_core", "Another name of checks.load.warning_per_core", {}},
      {"checks.cpu.interval", "Time between two runs of the check", {}},
      {"checks.logs.files[].patterns[].level", "", {"info", "warning", "critical"}},
      {"diagnostics.redaction.mode", "", {"strict", "normal", "off"}},
  };
  std::size_t found = 0;
  for_each_key(catalogue, [&](const ConfigKey& key) {
    for (const auto& row : rows) {
      if (key.path != row.path) continue;
      ++found;
      EXPECT_TRUE(key.meaning.starts_with(row.meaning)) << key.meaning;
      EXPECT_EQ(key.words, row.words) << key.path;
    }
    // Words that a rule holds the key to are told by the rule alone.
    for (const KeyRule& rule : key_rules()) {
      if (key.place == no_place || rule.place != key.place) continue;
      EXPECT_TRUE(key.words.empty()) << key.path;
    }
  });
  EXPECT_EQ(found, std::size(rows));
}
