#include "history/event_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <fstream>
#include <sstream>
#include <system_error>
#include <vector>

#include "base/private_file.h"
#include "zunol_monitoring/base/clock.h"

namespace zunol_monitoring {
namespace fs = std::filesystem;

namespace {

constexpr const char* name_begin = "vorn-event";
constexpr const char* name_end = ".json";

/// Far longer than it takes from the making of a file to the start of its command.
constexpr std::time_t youngest_left_sec = 3600;

bool is_left(const fs::directory_entry& entry) {
  const std::string name = entry.path().filename().string();
  struct stat status = {};
  return name.starts_with(std::string(name_begin) + '_') && name.ends_with(name_end) &&
         lstat(entry.path().c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_uid == geteuid() && std::time(nullptr) - status.st_mtime > youngest_left_sec;
}

/// As far as the directory can be read.
std::vector<fs::directory_entry> entries_of(const fs::path& directory) {
  std::error_code failure;
  std::vector<fs::directory_entry> entries;
  for (fs::directory_iterator entry(directory, failure), end; !failure && entry != end;
       entry.increment(failure)) {
    entries.push_back(*entry);
  }
  return entries;
}

/// What the file has, as far as it can be read.
std::string readable_text(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return std::move(text).str();
}

}  // namespace

EventFile::EventFile(const std::string& payload)
    : path_(fs::temp_directory_path() / (make_id(name_begin) + name_end)) {
  PrivateFile file(path_);
  try {
    file.write(event_file_text(payload));
  } catch (...) {
    remove();
    throw;
  }
}

EventFile::~EventFile() { remove(); }

void EventFile::remove() const {
  std::error_code ignored;
  fs::remove(path_, ignored);
}

void remove_left_event_files() {
  std::error_code ignored;
  std::vector<fs::path> left;
  for (const auto& entry : entries_of(fs::temp_directory_path(ignored))) {
    if (is_left(entry)) left.push_back(entry.path());
  }
  if (left.empty()) return;
  for (const auto& process : entries_of("/proc")) {
    for (const char* words : {"environ", "cmdline"}) {
      const std::string text = readable_text(process.path() / words);
      std::erase_if(left, [&text](const fs::path& file) {
        return text.find(file.filename().string()) != std::string::npos;
      });
    }
  }
  for (const fs::path& file : left) fs::remove(file, ignored);
}

}  // namespace zunol_monitoring
