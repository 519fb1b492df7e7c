#include <gtest/gtest.h>

#include "tests/ctl/ctl_scene.h"

TEST(CommentedDefaults, LoadBackAsTheDefaults) {
  const CtlScene scene;
  const std::string path = scene.dir / "c.yaml";
  ASSERT_EQ(scene.run({"config", "default", "--commented", path}).status, 0);
  const std::string text = zunol_monitoring::read_text_file(path);
  EXPECT_EQ(scene.run({"config", "default", "--commented"}).out, text);
  EXPECT_EQ(scene.run({"config", "check", "--strict", path}).out, path + ": valid\n");
  EXPECT_EQ(scene.run({"config", "show", "--json", "--config", path}).out,
            scene.run({"config", "default", "--json"}).out);

  // Without its comments it is the text of the defaults, and each key has one above it.
  std::istringstream lines(text);
  std::string bare;
  std::string above;
  int repeated = 0;
  for (std::string line; std::getline(lines, line); above = line) {
    EXPECT_LE(line.size(), 100U);
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    if (line.substr(begin, 1) == "#") continue;
    bare += line + '\n';
    const bool is_key = !line.empty() && line.find("- \"") == std::string::npos;
    if (!is_key) continue;
    if (above.substr(0, begin + 2) != std::string(begin, ' ') + "# ") ++repeated;
  }
  EXPECT_EQ(bare, scene.run({"config", "default"}).out);
  // What is not told again: further items of incidents.repeat.schedule and
  // checks.disk_health.paths.
  EXPECT_EQ(repeated, 2 + 3 * 3);
  EXPECT_NE(text.find("\n# How events reach the history.\nvorn:\n"), std::string::npos);
}
