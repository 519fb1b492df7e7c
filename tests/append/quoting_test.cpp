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
    for (std::size_t size = pick(40); name.size() < size;) {
      const char byte = static_cast<char>(1 + pick(255));
      if (byte != '/') name += byte;
    }
    return name;
  }
  /// Up to 40 characters of text in UTF-8, most of them of some meaning to a shell.
  std::string text() {
    static const std::string meaning = "'\"`$\\;&|<>(){}[]*?!#~=% \t\n\r\x01\x7f-/";
    std::string result = "t";
    for (std::size_t size = pick(40); size > 0; --size) {
      switch (pick(4)) {
        case 0: {
          const unsigned point = 0x80 + pick(0x780);
          result += static_cast<char>(0xc0 | point >> 6);
          result += static_cast<char>(0x80 | (point & 0x3f));
          break;
        }
        case 1:
          result += static_cast<char>(1 + pick(127));
          break;
        default:
          result += meaning[pick(static_cast<unsigned>(meaning.size()))];
      }
    }
    return result;
  }

 private:
  unsigned pick(unsigned below) { return static_cast<unsigned>(random_() % below); }

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
    const std::string config = (scene.dir / ("c" + values.file_name())).string();
    const std::string file = (scene.dir / ("e" + values.file_name())).string();
    const std::string id = values.text();
    const std::string block = values.text();
    const std::string wallet = values.text();
    scene.environment["ZUNOL_MONITORING_CONFIG"] = config;
    scene.environment["ZUNOL_VORN_EVENT_FILE"] = file;
    scene.environment["ZUNOL_VORN_EVENT_ID"] = id;
    scene.event["event_id"] = id;
    scene.vorn["history_block_id"] = block;
    scene.vorn["wallet_file"] = wallet;
    std::filesystem::remove_all(scene.dir / "state");

    const ProcessResult run = scene.run();
    ASSERT_EQ(run.status, 0) << run.err;
    std::string expected;
    for (const std::string& value : {config, file, id, block, wallet}) expected += value + '\0';
    ASSERT_EQ(zunol_monitoring::read_text_file(received), expected);
  }
}
