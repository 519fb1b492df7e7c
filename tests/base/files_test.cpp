#include "zunol_monitoring/base/files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support.h"

namespace fs = std::filesystem;
using namespace zunol_monitoring;

TEST(Files, SanitizedComponentKeepsLettersDigitsDashAndDot) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "item"},
      {" ", "_"},
      {"..", ".."},
      {"evt_1:2/3", "evt_1_2_3"},
      {"azAZ09-.", "azAZ09-."},
      {"@[`{/:", "______"},  // the neighbours of the kept ranges
      {"\xc3\xa9", "__"},    // one multi-byte character
      {"\x7f\x80\xff\n", "____"}};
  for (const auto& [text, name] : rows) EXPECT_EQ(sanitize_path_component(text), name) << text;
  EXPECT_EQ(sanitize_path_component(std::string("a\0b", 3)), "a_b");
}

TEST(Files, ReadReturnsTheBytesAsTheyAre) {
  const TempDir dir;
  for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 300000U}) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 7);
    write_text_file(dir / "file", text);
    EXPECT_EQ(read_text_file(dir / "file"), text) << size;
  }
  // A file that does not tell its size.
  EXPECT_FALSE(read_text_file("/proc/self/status").empty());
}

TEST(Files, ReadFailuresSayWhatIsWrong) {
  const TempDir dir;
  const fs::path missing = dir / "a/./b";  // printed as handed in
  EXPECT_EQ(error_of([&] { read_text_file(missing); }), "cannot read " + missing.string());
  expect_parts(error_of([&] { read_text_file(dir.path()); }).value(), {"Is a directory"});
}

TEST(Files, WriteCreatesTheTreeAndReplacesTheContent) {
  const TempDir dir;
  write_text_file(dir / "a/b/c", "a longer text");
  write_text_file(dir / "a/b/c", "short");
  EXPECT_EQ(read_text_file(dir / "a/b/c"), "short");
  EXPECT_EQ(error_of([&] { write_text_file(dir / "a/b", "x"); }),
            "cannot write " + (dir / "a/b").string());
  EXPECT_THROW(ensure_parent_directory(dir / "a/b/c/child"), fs::filesystem_error);
  const CwdGuard cwd(dir.path());  // in which a bare name stays
  EXPECT_NO_THROW(ensure_parent_directory("bare"));
  write_text_file("bare", "x");
  EXPECT_EQ(read_text_file(dir / "bare"), "x");
}

TEST(Files, ModesAreSetWhateverTheyWere) {
  const TempDir dir;
  write_text_file(dir / "file", "");
  set_owner_only_mode(dir / "file");
  EXPECT_EQ(mode_of(dir / "file"), 0600U);
  set_owner_group_read_mode(dir / "file");
  EXPECT_EQ(mode_of(dir / "file"), 0640U);
  ensure_group_directory(dir / "a/b");
  EXPECT_EQ(mode_of(dir / "a/b"), 0750U);
  fs::permissions(dir / "a/b", fs::perms::all);
  ensure_group_directory(dir / "a/b");
  EXPECT_EQ(mode_of(dir / "a/b"), 0750U);
  EXPECT_NO_THROW(set_owner_only_mode(dir / "missing"));
}
