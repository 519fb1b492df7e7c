// What the tests of several subsystems share.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;

/// The error text that `action` ends in, or nothing when it ends well.
template <class Action>
std::optional<std::string> error_of(Action action) {
  try {
    action();
  } catch (const std::exception& error) {
    return error.what();
  }
  return std::nullopt;
}

inline Texts lines_of(const std::string& text) {
  std::istringstream in(text);
  Texts lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

/// The parts of `text` between the separators, without the blanks around them.
inline Texts split(std::string text, const std::string& separator) {
  Texts parts;
  for (text += separator; !text.empty();) {
    const std::size_t end = text.find(separator);
    std::string& part = parts.emplace_back(text, 0, end);
    part.erase(part.find_last_not_of(' ') + 1).erase(0, part.find_first_not_of(' '));
    text.erase(0, end + separator.size());
  }
  return parts;
}

/// The lines of a table with its cells, without empty lines and those that begin with "//".
inline std::vector<Texts> rows_of(const std::string& table, const std::string& separator) {
  std::vector<Texts> rows;
  for (const std::string& line : lines_of(table)) {
    if (!line.empty() && !line.starts_with("//")) rows.push_back(split(line, separator));
  }
  return rows;
}

/// Each of `parts` stands in `text`.
inline void expect_parts(const std::string& text, const Texts& parts) {
  for (const std::string& part : parts) {
    EXPECT_NE(text.find(part), std::string::npos) << text.substr(0, 2000) << "\nlacks " << part;
  }
}

/// Whether `text` has the digits of `form` where that has a 9, and otherwise its very bytes.
inline bool has_form(const std::string& text, const std::string& form) {
  const auto matches = [](char byte, char pattern) {
    return pattern == '9' ? byte >= '0' && byte <= '9' : byte == pattern;
  };
  return std::ranges::equal(text, form, matches);
}

/// A new directory that goes with the test.
class TempDir {
 public:
  TempDir() {
    std::string name = "/tmp/zunol-test-XXXXXX";  // wherever a test lets TMPDIR point
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = name;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// Another working directory for this process until the guard goes.
class CwdGuard {
 public:
  explicit CwdGuard(const std::filesystem::path& path) { std::filesystem::current_path(path); }
  ~CwdGuard() { std::filesystem::current_path(before_); }
  CwdGuard(const CwdGuard&) = delete;
  CwdGuard& operator=(const CwdGuard&) = delete;

 private:
  std::filesystem::path before_ = std::filesystem::current_path();
};

/// A variable of this process's environment, set (or, without a value, unset) until the guard goes.
class EnvGuard {
 public:
  explicit EnvGuard(const char* name, const char* value = nullptr) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    set(value);
  }
  ~EnvGuard() { set(old_ ? old_->c_str() : nullptr); }
  EnvGuard(const EnvGuard&) = delete;
  EnvGuard& operator=(const EnvGuard&) = delete;

 private:
  void set(const char* value) const {
    if (value != nullptr) {
      setenv(name_, value, 1);
    } else {
      unsetenv(name_);
    }
  }
  const char* name_;
  std::optional<std::string> old_;
};

inline unsigned mode_of(const std::filesystem::path& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}
