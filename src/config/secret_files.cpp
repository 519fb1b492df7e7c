#include "zunol_monitoring/config/secret_files.h"

#include <system_error>

#include "config/fixed_secret_files.h"

namespace zunol_monitoring {
namespace fs = std::filesystem;

void check_secret_file_mode(std::vector<std::string>& errors, const fs::path& path) {
  if (path.empty()) return;
  std::error_code unreadable;
  const fs::file_status status = fs::status(path, unreadable);
  if (unreadable || !fs::is_regular_file(status)) return;
  constexpr fs::perms loose = fs::perms::group_all | fs::perms::others_all;
  if ((status.permissions() & loose) != fs::perms::none) {
    errors.push_back("secret file permissions must be 0600 or stricter: " + path.string());
  }
}

void check_fixed_secret_files(std::vector<std::string>& errors, const fs::path& home) {
  check_secret_file_mode(errors, home / "secrets.yaml");
  const fs::path secrets_directory = home / "secrets";
  std::error_code unreadable;
  if (!fs::is_directory(secrets_directory, unreadable)) return;
  for (const fs::directory_entry& entry : fs::directory_iterator(secrets_directory, unreadable)) {
    if (entry.path().extension() == ".secret") check_secret_file_mode(errors, entry.path());
  }
}

}  // namespace zunol_monitoring
