#include "zunol_monitoring/config/secret_files.h"

#include <gtest/gtest.h>

#include "config/fixed_secret_files.h"
#include "tests/support.h"
#include "zunol_monitoring/base/files.h"

namespace fs = std::filesystem;
using namespace zunol_monitoring;

TEST(SecretFiles, TheFixedOnesAreTheFileAndTheSecretsOfTheDirectory) {
  const TempDir home;
  const auto loose = [&] {
    std::vector<std::string> errors;
    check_fixed_secret_files(errors, home.path());
    std::string names;
    for (const std::string& error : errors) {
      const std::string prefix =
          "secret file permissions must be 0600 or stricter: " + home.path().string() + '/';
      EXPECT_TRUE(error.starts_with(prefix)) << error;
      names += error.substr(prefix.size()) + ' ';
    }
    return names;
  };
  const auto put = [&](const std::string& name, int mode) {
    write_text_file(home / name, "");
    fs::permissions(home / name, static_cast<fs::perms>(mode));
  };
  EXPECT_EQ(loose(), "");
  put("secrets.yaml", 0640);
  put("secrets.json", 0666);
  EXPECT_EQ(loose(), "secrets.yaml ");
  put("secrets.yaml", 0600);
  put("secrets/private.secret", 0400);
  put("secrets/other.secrets", 0666);
  put("secrets/.secret", 0666);  // a name without an extension
  put("secrets/below/deep.secret", 0666);
  fs::create_directory(home / "secrets/directory.secret");
  fs::create_symlink(home / "nowhere", home / "secrets/dangling.secret");
  EXPECT_EQ(loose(), "");
  put("secrets/loose.secret", 0604);
  EXPECT_EQ(loose(), "secrets/loose.secret ");
}
