// How far a long work has come, for the person before a terminal.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

namespace zunol_monitoring {

/// A line on standard error that grows with the work, where that is a terminal.
class ProgressBar {
 public:
  explicit ProgressBar(std::int64_t total) : total_(total) {}
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void show(std::int64_t finished) const {
    if (!visible_ || total_ == 0) return;
    constexpr std::int64_t width = 30;
    const auto full = static_cast<std::size_t>(std::min(finished, total_) * width / total_);
    std::fprintf(stderr, "\r[%s%s] %lld of %lld", std::string(full, '#').c_str(),
                 std::string(width - full, ' ').c_str(), static_cast<long long>(finished),
                 static_cast<long long>(total_));
  }
  /// Makes room for another line.
  void clear() const {
    if (visible_) std::fputs("\r\x1b[K", stderr);
  }

 private:
  std::int64_t total_;
  bool visible_ = isatty(STDERR_FILENO) == 1;
};

}  // namespace zunol_monitoring
