#include "base/private_file.h"

#include <gtest/gtest.h>

#include "tests/support.h"
#include "zunol_monitoring/base/files.h"

using namespace zunol_monitoring;

TEST(PrivateFile, IsPrivateFromTheStartWhateverTheUmask) {
  const TempDir dir;
  for (const mode_t mask : {0000U, 0022U, 0777U}) {
    const mode_t before = umask(mask);
    const auto path = dir / std::to_string(mask);
    PrivateFile file(path);
    umask(before);
    EXPECT_EQ(mode_of(path), 0600U);
    file.write("one ");
    file.write("two");
    file.publish(path.string() + ".done");
    EXPECT_EQ(read_text_file(path.string() + ".done"), "one two");
    EXPECT_EQ(mode_of(path.string() + ".done"), 0640U);
    EXPECT_FALSE(std::filesystem::exists(path));
  }
}

TEST(PrivateFile, AFileIsReplacedWholeOrNotAtAll) {
  const TempDir dir;
  for (const char* text : {"long old text", "new"}) {
    replace_file(dir / "a/b", text);
    EXPECT_EQ(read_text_file(dir / "a/b"), text);
  }
  // A device such as /dev/null would be gone.
  std::filesystem::create_directory(dir / "a/directory");
  ASSERT_EQ(mkfifo((dir / "a/fifo").c_str(), 0600), 0);
  for (const char* name : {"a/directory", "a/fifo"}) {
    const auto path = dir / name;
    EXPECT_EQ(error_of([&] { replace_file(path, "new"); }),
              "cannot write " + path.string() + ": it is no regular file");
  }
  // What was planted under the final name is not followed.
  std::filesystem::create_symlink(dir / "a/b", dir / "a/link");
  replace_file(dir / "a/link", "its own");
  EXPECT_EQ(read_text_file(dir / "a/b"), "new");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir / "a"), {}), 4);
}

TEST(PrivateFile, ANameThatIsTakenIsNeverWritten) {
  const TempDir dir;
  write_text_file(dir / "victim", "kept");
  std::filesystem::create_symlink(dir / "victim", dir / "link");
  std::filesystem::create_symlink(dir / "nowhere", dir / "dangling");
  for (const char* name : {"victim", "link", "dangling", "missing/directory"}) {
    const auto path = dir / name;
    EXPECT_EQ(error_of([&] { const PrivateFile file(path); }), "cannot write " + path.string());
  }
  EXPECT_EQ(read_text_file(dir / "victim"), "kept");
  EXPECT_FALSE(std::filesystem::exists(dir / "nowhere"));
}
