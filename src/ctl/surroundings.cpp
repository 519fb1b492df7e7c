#include "ctl/surroundings.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "append/marker.h"
#include "ctl/shell_words.h"
#include "zunol_monitoring/base/environment.h"

namespace zunol_monitoring::ctl {
namespace {

namespace fs = std::filesystem;

std::optional<struct stat> status_of(const fs::path& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

/// The path that the shell finds for the plain name of a program; the word itself where it is none.
std::string found_in_path(const std::string& word) {
  if (word.find('/') != std::string::npos) return word;
  std::istringstream directories(env_or_default("PATH", ""));
  for (std::string directory; std::getline(directories, directory, ':');) {
    std::string path = directory + '/' + word;
    const auto status = status_of(path);
    if (status && S_ISREG(status->st_mode) && access(path.c_str(), X_OK) == 0) return path;
  }
  return word;
}

}  // namespace

std::string user_name(uid_t user) {
  const passwd* entry = getpwuid(user);
  return entry != nullptr ? entry->pw_name : std::to_string(user);
}

namespace {

class Examiner {
 public:
  Examiner(const Config& config, const ConfigFile& file) : config_(config), file_(file) {
    agent_ = geteuid();
    if (agent_ != 0) return;
    const auto database = status_of(config.storage.local_db);
    agent_ = database ? std::optional(database->st_uid) : std::nullopt;
  }

  std::vector<Finding> findings;

  void database() {
    const fs::path& path = config_.storage.local_db;
    if (path.has_parent_path()) private_directory("storage.local_db", path.parent_path());
    const auto status = status_of(path);
    if (status && (status->st_mode & S_IROTH) != 0) {
      warn("storage.local_db", "everybody may read " + path.string(), "chmod o-rwx it");
    }
  }

  void marker_directory() {
    if (config_.storage.local_db.native().find('\0') != std::string::npos)
      return;  // has no markers
    private_directory("storage.local_db", marker_path(config_.storage, "id").parent_path());
  }

  void export_directory() {
    const fs::path& path = config_.vorn.export_dir;
    std::error_code unknown;
    fs::path named = path.lexically_normal();  // a link with a slash behind it is what it means
    if (!named.has_filename()) named = named.parent_path();
    if (fs::is_symlink(named, unknown)) {
      warn("vorn.export_dir", path.string() + " is a link, which may come to mean another place",
           "name the place itself");
    }
    directory("vorn.export_dir", path);
  }

  void temporary_directory() {
    std::error_code unknown;
    const fs::path path = fs::temp_directory_path(unknown);
    const auto status = status_of(path);
    const mode_t others = status ? status->st_mode & (S_IWGRP | S_IWOTH) : 0;
    if (others != 0 && (status->st_mode & S_ISVTX) == 0) {
      const std::string who = (others & S_IWOTH) != 0 ? "everybody" : "its group";
      warn("vorn.append_command",
           who + " may take event files out of " + path.string() + ", which has no sticky bit",
           "chmod +t it");
    }
    if (status && agent_ && status->st_uid != 0 && status->st_uid != *agent_) {
      warn("vorn.append_command",
           user_name(status->st_uid) + ", to whom " + path.string() +
               " belongs, may take event files out of it",
           "let TMPDIR name another directory");
    }
  }

  /// Only words that are paths are looked at, and the program by its name: the rest of a shell text
  /// is the shell's.
  void programs(const std::string& key, const std::string& command) {
    bool program_named = false;
    for (std::string word : shell_words(command)) {
      if (!program_named && word.find('=') != std::string::npos) continue;
      const bool first = !std::exchange(program_named, true);
      if (first) word = found_in_path(word);
      if (!word.starts_with('/')) continue;
      const auto status = status_of(word);
      if (!status) {
        if (first) warn(key, word + " is not there", "install it, or name another program");
        continue;
      }
      const bool program = first || (status->st_mode & S_IXUSR) != 0;
      if (!S_ISREG(status->st_mode) || !program) continue;
      if (status->st_size == 0) {
        warn(key, word + " is empty, which the shell takes for success", "install it anew");
      } else if (access(word.c_str(), R_OK) != 0) {
        warn(key, word + " cannot be read, which the shell can take for success", "chmod a+r it");
      }
    }
  }

 private:
  /// One that no group collects from.
  void private_directory(const std::string& key, const fs::path& path) {
    directory(key, path);
    const auto status = status_of(path);
    if (!status || !S_ISDIR(status->st_mode)) return;
    if ((status->st_mode & (S_IWGRP | S_IWOTH)) == S_IWGRP) {  // everybody is told of already
      warn(key, "its group may write into " + path.string(), "chmod g-w it");
    }
  }

  void directory(const std::string& key, const fs::path& path) {
    const auto status = status_of(path);
    if (!status || !S_ISDIR(status->st_mode)) return;
    if ((status->st_mode & S_IWOTH) != 0) {
      warn(key, "everybody may write into " + path.string(), "chmod o-w it");
    }
    if (agent_ && status->st_uid != *agent_) {
      warn(key,
           path.string() + " belongs to " + user_name(status->st_uid) + " and not to " +
               user_name(*agent_),
           "run this as " + user_name(status->st_uid) + ", or chown it to " + user_name(*agent_));
    }
  }

  void warn(const std::string& key, const std::string& what, const std::string& remedy) {
    const auto source = file_.sources.find(key);
    const Source at = source != file_.sources.end() ? source->second : Source{};
    findings.push_back({at.line, at.column, key + ": " + what, remedy});
  }

  const Config& config_;
  const ConfigFile& file_;
  std::optional<uid_t> agent_;
};

}  // namespace

std::vector<Finding> examine_surroundings(const Config& config, const ConfigFile& file) {
  Examiner examiner(config, file);
  examiner.database();
  const VornConfig& vorn = config.vorn;
  const bool delivers = vorn.enabled && !vorn.queue_only;
  if (delivers && vorn.transport == "spool") examiner.export_directory();
  if (delivers && vorn.transport == "command") {
    examiner.temporary_directory();
    examiner.marker_directory();
    examiner.programs("vorn.append_command", vorn.append_command);
  }
  if (vorn.enabled) examiner.programs("vorn.bridge_command", vorn.bridge_command);
  return std::move(examiner.findings);
}

}  // namespace zunol_monitoring::ctl
