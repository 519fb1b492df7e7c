#include "tests/ctl/ctl_scene.h"

using CommentedDefaults = Ctl;

TEST_F(CommentedDefaults, LoadBackAsTheDefaults) {
  const std::string path = dir / "c.yaml";
  out("config default --commented " + path);
  const std::string text = zunol_monitoring::read_text_file(path);
  EXPECT_EQ(out("config default --commented"), text);
  EXPECT_EQ(out("config check --strict " + path), path + ": valid\n");
  EXPECT_EQ(out("config show --json --config " + path), out("config default --json"));

  // Without its comments it is the text of the defaults, and each key has one above it.
  std::string bare;
  std::string above;
  int repeated = 0;
  for (const std::string& line : lines_of(text)) {
    EXPECT_LE(line.size(), 100U);
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    if (line.substr(begin, 1) != "#") {
      bare += line + '\n';
      const bool is_key = !line.empty() && line.find("- \"") == std::string::npos;
      if (is_key && above.substr(0, begin + 2) != std::string(begin, ' ') + "# ") ++repeated;
    }
    above = line;
  }
  EXPECT_EQ(bare, out("config default"));
  // What is not told again: further items of incidents.repeat.schedule and
  // checks.disk_health.paths.
  EXPECT_EQ(repeated, 2 + 3 * 3);
  expect_parts(text, {"\n# How events reach the history.\nvorn:\n"});
}
