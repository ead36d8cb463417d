// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "seam/usb_host.h"

namespace orvik::test {

/// A part of a conversation.
using Lines = std::vector<std::string>;

/// Joins parts of a conversation.
inline Lines operator+(Lines left, const Lines& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

/// The vendor requests that a camera received, one line each: "S3009=11" a sensor register of
/// 8 bits, "W3012=0240" one of 16 bits, "F13=80" an FPGA register, "B2=FF" the cooler's drive, "AA"
/// another command, "R.." anything read.
class Conversation {
 public:
  /// May be called on any thread. Requests that are not vendor requests are ignored.
  void add(const seam::SetupPacket& setup) {
    constexpr unsigned kVendorOut = 0x40;
    constexpr unsigned kVendorIn = 0xC0;
    if (setup.requestType != kVendorOut && setup.requestType != kVendorIn) return;
    std::string line;
    if (setup.request == 0xB6) {
      line.append(1, 'S').append(hex(setup.value, 4)).append(1, '=').append(hex(setup.index, 2));
    } else if (setup.request == 0xA6) {
      line.append(1, 'W').append(hex(setup.value, 4)).append(1, '=').append(hex(setup.index, 4));
    } else if (setup.request == 0xBD) {
      line.append(1, 'F').append(std::to_string(setup.value));
      line.append(1, '=').append(hex(setup.index, 2));
    } else if (setup.request == 0xB2) {
      line.append("B2=").append(hex(setup.value, 2));
    } else {
      line.append(setup.requestType == kVendorIn ? 1 : 0, 'R').append(hex(setup.request, 2));
    }
    const std::lock_guard lock(mutex_);
    lines_.push_back(std::move(line));
  }

  /// @return the requests received since the last call.
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }

 private:
  static std::string hex(unsigned value, int digits) {
    std::string text(static_cast<std::size_t>(digits), '0');
    for (int i = digits; i-- > 0; value >>= 4U) {
      text[static_cast<std::size_t>(i)] = "0123456789ABCDEF"[value & 0xFU];
    }
    return text;
  }

  std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace orvik::test
