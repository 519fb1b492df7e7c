// No value can reach a shell unquoted: whatever the variables and the configuration hold, the
// backend receives the same bytes.
#include <gtest/gtest.h>

#include <random>

#include "tests/append/append_scene.h"

using zunol_monitoring::write_text_file;

namespace {

class Values {
 public:
  /// Up to 40 bytes of any value but zero and the slash, which a file name cannot hold.
  std::string file_name() {
    std::string name = "f";
    for (std::size_t size = random_() % 40; name.size() < size;) {
      const char byte = static_cast<char>(1 + random_() % 255);
      if (byte != '/') name += byte;
    }
    return name;
  }
  /// Up to 40 characters of text in UTF-8, most of them of some meaning to a shell.
  std::string text() {
    static const std::string meaning = "'\"`$\\;&|<>(){}[]*?!#~=% \t\n\r\x01\x7f-/";
    std::string result = "t";
    for (std::size_t size = random_() % 40; size > 0; --size) {
      const std::size_t point = random_() % 256;
      if (point < 64) {
        result += {'\xc3', static_cast<char>(0x80 + point)};
      } else {
        result += point < 128 ? static_cast<char>(point) : meaning[point % meaning.size()];
      }
    }
    return result;
  }

 private:
  std::mt19937 random_{20261122};
};

}  // namespace

TEST(Quoting, EveryValueReachesTheBackendByteForByte) {
  AppendScene scene;
  const auto received = scene.dir / "received";
  write_text_file(scene.dir / "backend",
                  "printf '%s\\0' \"$ZUNOL_MONITORING_CONFIG\" \"$ZUNOL_VORN_EVENT_FILE\" "
                  "\"$ZUNOL_VORN_EVENT_ID\" \"$ZUNOL_VORN_HISTORY_BLOCK_ID\" "
                  "\"$ZUNOL_VORN_WALLET_FILE\" >" +
                      received.string());
  scene.vorn["bridge_command"] = "sh " + (scene.dir / "backend").string();
  Values values;
  for (int round = 0; round < 200; ++round) {
    const std::vector<std::string> sent = {scene.dir / ("c" + values.file_name()),
                                           scene.dir / ("e" + values.file_name()), values.text(),
                                           values.text(), values.text()};
    scene.environment["ZUNOL_MONITORING_CONFIG"] = sent[0];
    scene.environment["ZUNOL_VORN_EVENT_FILE"] = sent[1];
    scene.environment["ZUNOL_VORN_EVENT_ID"] = sent[2];
    scene.event["event_id"] = sent[2];
    scene.vorn["history_block_id"] = sent[3];
    scene.vorn["wallet_file"] = sent[4];
    std::filesystem::remove_all(scene.dir / "state");

    const ProcessResult run = scene.run();
    ASSERT_EQ(run.status, 0) << run.err;
    std::string expected;
    for (const std::string& value : sent) expected += value + '\0';
    ASSERT_EQ(zunol_monitoring::read_text_file(received), expected);
  }
}
