// An open file or directory, closed with its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace zunol_monitoring {

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }

  bool is_open() const { return number_ >= 0; }
  int number() const { return number_; }

 private:
  int number_;
};

}  // namespace zunol_monitoring
