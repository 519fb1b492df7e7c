#include "spool/spool_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

#include "events/parse_envelope.h"
#include "history/spool_name.h"
#include "spool/event_text.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/events/event_envelope.h"

namespace zunol_monitoring {
namespace {

constexpr mode_t directory_mode = 0750;
constexpr mode_t reason_mode = 0640;

/// Room for what is put before and behind a name in rejected_name.
constexpr std::size_t longest_rejected_name = 180;

bool exists(int directory, const std::string& name, struct stat& status) {
  return fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool is_same(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino && one.st_size == other.st_size &&
         one.st_mtim.tv_sec == other.st_mtim.tv_sec && one.st_mtim.tv_nsec == other.st_mtim.tv_nsec;
}

/// Calls take(name) for each name in the directory that begins with no dot.
void for_each_name(int directory, const std::function<void(std::string)>& take) {
  const int own = openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(own < 0 ? nullptr : fdopendir(own), closedir);
  if (!stream) throw std::system_error(errno, std::generic_category(), "cannot list");
  while (true) {
    errno = 0;  // nothing else tells a failure from the end
    const dirent* entry = readdir(stream.get());
    if (entry == nullptr && errno != 0) {
      throw std::system_error(errno, std::generic_category(), "cannot list");
    }
    if (entry == nullptr) return;
    if (entry->d_name[0] != '.') take(entry->d_name);
  }
}

void judge(SpoolFile& file) {
  try {
    const nlohmann::json event = parse_envelope(file.event);
    file.fault = validate_event(event);
    if (!file.fault) file.event_id = event["event_id"].get<std::string>();
  } catch (const nlohmann::json::exception& error) {
    file.fault = error.what();
  }
}

/// A name that is free in the directory, as the name itself mostly is.
std::string free_name(int directory, const std::string& name) {
  struct stat status;
  std::string free = name.substr(name.size() - std::min(name.size(), longest_rejected_name));
  if (exists(directory, free, status)) free = make_id("again") + '_' + free;
  return free;
}

}  // namespace

SpoolDirectory::SpoolDirectory(const std::filesystem::path& path)
    : SpoolDirectory(AT_FDCWD, path, path, 0) {}

SpoolDirectory::SpoolDirectory(const SpoolDirectory& parent, const std::string& name)
    : SpoolDirectory(parent.directory_.number(), name, parent.path_ / name, O_NOFOLLOW) {}

SpoolDirectory::SpoolDirectory(int parent, const std::string& name, std::filesystem::path path,
                               int flags)
    : path_(std::move(path)),
      directory_(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags)) {
  if (!directory_.is_open()) fail("");
  if (flock(directory_.number(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) throw SpoolBusy(path_.string() + " is being collected already");
    fail("");
  }
}

void SpoolDirectory::require_in_place() const {
  struct stat held;
  struct stat named;
  if (fstat(directory_.number(), &held) != 0 || stat(path_.c_str(), &named) != 0) fail("");
  if (held.st_dev != named.st_dev || held.st_ino != named.st_ino) {
    throw std::runtime_error(path_.string() + " is another directory by now");
  }
}

std::vector<std::string> SpoolDirectory::files() const {
  struct stat status;
  if (exists(directory_.number(), taken_name, status)) give_back();
  std::vector<std::string> names;
  for_each_name(directory_.number(), [&names](std::string name) {
    if (!name.ends_with(spool_name_end)) return;
    names.push_back(std::move(name));
    if (names.size() < 2 * most_listed) return;
    std::ranges::nth_element(names, names.begin() + most_listed);
    names.resize(most_listed);
  });
  std::ranges::sort(names);
  if (names.size() > most_listed) names.resize(most_listed);
  return names;
}

std::vector<std::string> SpoolDirectory::directories() const {
  std::vector<std::string> names;
  for_each_name(directory_.number(), [this, &names](std::string name) {
    struct stat status;
    if (name != rejected_name && exists(directory_.number(), name, status) &&
        S_ISDIR(status.st_mode)) {
      names.push_back(std::move(name));
    }
  });
  std::ranges::sort(names);
  return names;
}

std::optional<SpoolFile> SpoolDirectory::read(const std::string& name) const {
  SpoolFile file{.name = name};
  if (!exists(directory_.number(), name, file.status)) {
    if (errno == ENOENT) return std::nullopt;
    fail(name);
  }
  try {
    EventText event = read_event_text(directory_.number(), name, O_NOFOLLOW);
    file.event = std::move(event.text);
    file.status = event.status;
    judge(file);
  } catch (const NoEventFile& reason) {
    file.fault = std::string("the file is ") + reason.what();
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::no_such_file_or_directory) return std::nullopt;
    errno = error.code().value();
    fail(name);
  }
  if (file.fault) file.event.clear();
  return file;
}

void SpoolDirectory::remove(const SpoolFile& file) const {
  if (take(file) && unlinkat(directory_.number(), taken_name, 0) != 0) fail(file.name);
}

void SpoolDirectory::set_aside(const SpoolFile& file, const std::string& reason) const {
  const Descriptor rejected = open_rejected();
  const std::string name = free_name(rejected.number(), file.name);
  const std::string reason_name = name + ".reason";
  // A crash can have left a part of it.
  unlinkat(rejected.number(), reason_name.c_str(), 0);
  const Descriptor note(openat(rejected.number(), reason_name.c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, reason_mode));
  const std::string text = reason + '\n';
  const auto size = static_cast<ssize_t>(text.size());
  if (!note.is_open() || write(note.number(), text.data(), text.size()) != size) {
    fail(file.name);
  }
  if (!take(file)) {
    unlinkat(rejected.number(), reason_name.c_str(), 0);
    return;
  }
  if (renameat(directory_.number(), taken_name, rejected.number(), name.c_str()) == 0) return;
  const int reason_number = errno;
  unlinkat(rejected.number(), reason_name.c_str(), 0);
  give_back();
  errno = reason_number;
  fail(file.name);
}

/// Gives the file the name taken_name; not where it is another one by now, or gone.
bool SpoolDirectory::take(const SpoolFile& file) const {
  struct stat status;
  const int directory = directory_.number();
  // One that could not be given back: the rename would overwrite it.
  if (exists(directory, taken_name, status)) give_back();
  if (!exists(directory, file.name, status) || !is_same(status, file.status)) return false;
  if (renameat(directory, file.name.c_str(), directory, taken_name) != 0) {
    if (errno == ENOENT) return false;
    fail(file.name);
  }
  if (!exists(directory, taken_name, status)) fail(file.name);
  if (is_same(status, file.status)) return true;
  give_back();
  return false;
}

void SpoolDirectory::give_back() const {
  const std::string name = make_id("returned").append(spool_name_end);
  if (renameat(directory_.number(), taken_name, directory_.number(), name.c_str()) != 0) {
    fail(taken_name);
  }
}

Descriptor SpoolDirectory::open_rejected() const {
  mkdirat(directory_.number(), rejected_name, directory_mode);  // the open tells a failure
  Descriptor rejected(
      openat(directory_.number(), rejected_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!rejected.is_open()) fail(rejected_name);
  return rejected;
}

void SpoolDirectory::fail(const std::string& name) const {
  throw std::system_error(errno, std::generic_category(),
                          (name.empty() ? path_ : path_ / name).string());
}

}  // namespace zunol_monitoring
