// The obstacles in the configuration and on the host.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>

#include "append/gates.h"
#include "append/marker.h"
#include "base/limited_command.h"
#include "config/judge.h"
#include "ctl/input.h"
#include "ctl/obstacles.h"
#include "ctl/open_store.h"
#include "ctl/queue_flush.h"
#include "ctl/sqlite_ledger.h"
#include "ctl/surroundings.h"
#include "store/health.h"

namespace zunol_monitoring::ctl {
namespace {

namespace fs = std::filesystem;

/// The largest event has to find room in the -wal file and in the file that hands it on.
constexpr std::uintmax_t least_free_bytes = 2 * largest_event_bytes;

/// "belongs to root, mode 0750"
std::string ownership(const struct stat& status) {
  char mode[8];
  std::snprintf(mode, sizeof mode, "%04o", status.st_mode & 07777U);
  return "belongs to " + user_name(status.st_uid) + ", mode " + mode;
}

/// The first word of a shell text behind assignments, where it is the plain name of a program; the
/// rest of the text is the shell's.
std::string program_of(const std::string& command) {
  constexpr const char* plain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./+-";
  std::istringstream words(command);
  std::string word;
  while (words >> word && word.find('=') != std::string::npos) {
    if (word.find_first_of("'\"\\$`") != std::string::npos) return "";
  }
  word.resize(std::min(word.find_first_of(";&|<>()"), word.size()));
  return word.find_first_not_of(plain) == std::string::npos ? word : "";
}

class Host {
 public:
  explicit Host(const Config& config) : config_(config), vorn_(config.vorn) {}

  std::vector<Obstacle> obstacles;

  void configuration() {
    for (const BrokenRule& rule : broken_rules(config_)) {
      add(rule.message,
          "`config check` tells the line; the units skip a configuration that is not valid");
    }
    if (const auto gate = closed_flush_gate(vorn_)) {
      add(*gate + ", so nothing is delivered", "change it in " + config_.path.string());
    }
    // The rules have the other gates of the append command.
    const auto gate = closed_append_gate(vorn_);
    if (appends() && gate && vorn_.history_block_id.empty()) {
      add(*gate, "set it in " + config_.path.string());
    }
  }

  void user() {
    struct stat status = {};
    if (geteuid() != 0 || stat(config_.storage.local_db.c_str(), &status) != 0) return;
    if (status.st_uid == 0) return;
    const std::string owner = user_name(status.st_uid);
    add("the store belongs to " + owner + ", who could not use the files that root makes",
        "ask and deliver as that user: runuser -u " + owner + " -- zunol-monitoring-ctl doctor");
  }

  void surroundings() {
    for (Finding& finding : examine_surroundings(config_, {})) {
      add(std::move(finding.message), std::move(finding.remedy));
    }
  }

  void programs() {
    if (!commands()) return;
    program("vorn.append_command", program_of(vorn_.append_command));
    if (!appends()) return;
    const std::string backend = append_backend(vorn_);
    const auto ledger = sqlite_ledger_of(backend);
    program("the backend", program_of(backend));
    if (!ledger) return;
    const std::string& named = ledger->program;
    if (named != program_of(backend) && named == program_of(named)) program("the backend", named);
    program("sqlite-ledger", "sqlite3");
  }

  void places() {
    const fs::path& file = config_.storage.local_db;
    const std::string key = "storage.local_db";
    directory(key, file.parent_path());
    for (const char* suffix : {"", "-wal", "-shm"}) existing_file(key, file.string() + suffix);
    if (!delivers()) return;
    if (vorn_.transport == "spool") directory("vorn.export_dir", vorn_.export_dir);
    if (!commands()) return;
    std::error_code unknown;
    const fs::path temporary = fs::temp_directory_path(unknown);
    if (unknown) {
      add("there is no directory for temporary files", "let TMPDIR name one");
    } else {
      directory("the temporary directory", temporary);
    }
    if (!appends()) return;
    directory("the markers", marker_path(config_.storage, "id").parent_path());
    wallet();
    if (const auto ledger = sqlite_ledger_of(append_backend(vorn_))) {
      directory("the ledger", ledger->file.parent_path());
      existing_file("the ledger", ledger->file);
      readable_ledger(ledger->file);
    }
  }

 private:
  bool delivers() const { return !closed_flush_gate(vorn_); }
  bool commands() const { return delivers() && vorn_.transport == "command"; }
  /// Whether the append command runs, whose gates count then.
  bool appends() const {
    return commands() && vorn_.append_command.find("zunol-vorn-append-event") != std::string::npos;
  }

  void add(std::string what, std::string remedy) {
    obstacles.push_back({std::move(what), std::move(remedy)});
  }

  bool told_by_surroundings(const std::string& word) const {
    return word.starts_with('/') &&
           (vorn_.append_command.starts_with(word) || vorn_.bridge_command.starts_with(word));
  }

  void program(const std::string& name, const std::string& word) {
    constexpr std::chrono::seconds limit(10);  // a directory of PATH can be far away
    struct stat status = {};
    if (word.empty()) return;
    const bool is_path = word.find('/') != std::string::npos;
    if (is_path && stat(word.c_str(), &status) == 0) {
      if (S_ISREG(status.st_mode) && faccessat(AT_FDCWD, word.c_str(), X_OK, AT_EACCESS) == 0) {
        return;
      }
      add(name + ": " + word + " is no program that this user can run: it " + ownership(status),
          "install it anew, or chmod a+rx it");
    } else if (told_by_surroundings(word)) {
      return;
    } else if (const auto found = run_limited_command("command -v " + word, limit);
               is_path || !found || found->exit_code != 0) {
      add(name + ": the program " + word + " is not found" + (is_path ? "" : " in PATH"),
          "install it, or name it with its directory");
    }
  }

  void wallet() {
    const fs::path& path = vorn_.wallet_file;
    struct stat status = {};
    if (path.empty()) return;
    if (stat(path.c_str(), &status) == 0) {
      if (S_ISREG(status.st_mode)) return access_to("vorn.wallet_file", path, R_OK);
      return add("vorn.wallet_file: " + path.string() + " is no regular file",
                 "put the wallet there");
    }
    if (sqlite_ledger_of(append_backend(vorn_))) return;  // it reads none
    add("vorn.wallet_file: " + path.string() + ": " + std::strerror(errno), "put the wallet there");
  }

  /// A directory that is there, or can be made, in which the user can make files, with room.
  void directory(const std::string& name, const fs::path& wanted) {
    fs::path path = wanted.empty() ? "." : wanted;
    if (!looked_at_.insert(path).second) return;
    struct stat status = {};
    while (stat(path.c_str(), &status) != 0 && errno == ENOENT && path.has_relative_path()) {
      path = path.has_parent_path() ? path.parent_path() : ".";
    }
    if (stat(path.c_str(), &status) != 0) {
      return add(name + ": " + path.string() + ": " + std::strerror(errno),
                 "let the user reach it");
    }
    if (!S_ISDIR(status.st_mode)) {
      return add(name + ": " + path.string() + " is no directory", "move it away");
    }
    access_to(name, path, W_OK | X_OK);
    room(name, path);
  }

  void room(const std::string& name, const fs::path& path) {
    struct statvfs space = {};
    if (statvfs(path.c_str(), &space) != 0) return;
    const std::uintmax_t free_bytes = std::uintmax_t{space.f_bavail} * space.f_frsize;
    if (free_bytes < least_free_bytes) {
      add(name + ": only " + std::to_string(free_bytes / 1024) + " KiB are free in " +
              path.string(),
          "make room");
    }
    if (space.f_files > 0 && space.f_favail == 0) {
      add(name + ": no more files can be made in " + path.string(), "remove some of the others");
    }
  }

  void existing_file(const std::string& name, const fs::path& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return;
    if (S_ISREG(status.st_mode)) return access_to(name, path, R_OK | W_OK);
    if (name == "the ledger")
      add(name + ": " + path.string() + " is no regular file", "move it away");
  }

  void readable_ledger(const fs::path& file) {
    try {
      if (database_is_there(file)) (void)StoreView(file).look(table_names);
    } catch (const StoreError& error) {
      if (error.code() != SQLITE_CORRUPT && error.code() != SQLITE_NOTADB) return;
      add("the ledger: " + file.string() + ": " + error.what(), "mend it, or move it away");
    } catch (const fs::filesystem_error& error) {
      add(std::string("the ledger: ") + error.what(), "name another file");
    } catch (const std::exception&) {
      // What is no file has been told.
    }
  }

  void access_to(const std::string& name, const fs::path& path, int mode) {
    if (faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0) return;
    const std::string reason = std::strerror(errno);
    struct stat status = {};
    (void)stat(path.c_str(), &status);  // it was there a moment ago
    const std::string user = user_name(geteuid());
    add(name + ": " + user + " cannot " + ((mode & W_OK) != 0 ? "write " : "read ") +
            path.string() + " (" + reason + "): it " + ownership(status),
        "run this as " + user_name(status.st_uid) + ", or give it to " + user);
  }

  const Config& config_;
  const VornConfig& vorn_;
  std::set<fs::path> looked_at_;  ///< directories
};

}  // namespace

std::vector<Obstacle> host_obstacles(const Config& config) {
  Host host(config);
  host.configuration();
  host.user();
  host.surroundings();
  host.programs();
  host.places();
  return std::move(host.obstacles);
}

}  // namespace zunol_monitoring::ctl
