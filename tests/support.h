// What the tests of several subsystems share.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

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
