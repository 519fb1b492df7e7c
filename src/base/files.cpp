#include "zunol_monitoring/base/files.h"

#include <array>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "base/durable.h"

namespace zunol_monitoring {
namespace fs = std::filesystem;

namespace {

void set_mode(const fs::path& path, fs::perms mode) {
  std::error_code ignored;
  fs::permissions(path, mode, ignored);
}

/// As fs::create_directories; and the names of the new directories are on the disk then.
void create_durable_directories(const fs::path& directory) {
  std::vector<fs::path> missing;
  std::error_code unknown;
  fs::path path = directory.has_filename() ? directory : directory.parent_path();
  while (path.has_relative_path() && fs::status(path, unknown).type() == fs::file_type::not_found) {
    missing.push_back(path);
    path = path.parent_path();
  }
  fs::create_directories(directory);
  for (const fs::path& created : missing) sync_name(created);
}

constexpr fs::perms owner_read_write = fs::perms::owner_read | fs::perms::owner_write;

}  // namespace

std::string read_text_file(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  in.exceptions(std::ios::badbit);

  // Only a regular file tells its size. The extra byte keeps the last append from growing the text.
  std::string text;
  std::error_code unknown;
  const auto size = fs::file_size(path, unknown);
  if (!unknown) text.reserve(size + 1);

  std::array<char, 65536> chunk;
  while (in.read(chunk.data(), chunk.size()), in.gcount() > 0) {
    text.append(chunk.data(), static_cast<std::size_t>(in.gcount()));
  }
  return text;
}

void write_text_file(const fs::path& path, std::string_view text) {
  ensure_parent_directory(path);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!out) throw std::runtime_error("cannot write " + path.string());
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void ensure_parent_directory(const fs::path& path) {
  if (path.has_parent_path()) create_durable_directories(path.parent_path());
}

void ensure_group_directory(const fs::path& path) {
  create_durable_directories(path);
  set_mode(path, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec);
}

void set_owner_only_mode(const fs::path& path) { set_mode(path, owner_read_write); }

void set_owner_group_read_mode(const fs::path& path) {
  set_mode(path, owner_read_write | fs::perms::group_read);
}

std::string sanitize_path_component(std::string_view text) {
  if (text.empty()) return "item";
  std::string name(text);
  for (char& byte : name) {
    const bool kept = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                      (byte >= '0' && byte <= '9') || byte == '-' || byte == '.';
    if (!kept) byte = '_';
  }
  return name;
}

}  // namespace zunol_monitoring
