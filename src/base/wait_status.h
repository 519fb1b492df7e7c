// The status of an ended child process as the product tells it.
#pragma once

namespace zunol_monitoring {

/// The exit status of a child that exited; the wait status as it is for one that a signal ended,
/// and for the -1 of a failed wait.
constexpr int decode_wait_status(int status) {
  return (status & 0x7f) == 0 ? (status >> 8) & 0xff : status;
}

}  // namespace zunol_monitoring
