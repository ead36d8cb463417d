// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik::vm {

/// The memory into which the driver reads in this process: its own, into which usbfs copies, or the
/// kernel's, which usbfs lends (`libusb_dev_mem_alloc()`). Counted by standing in libusb's way.
struct LentMemory {
  /// Whether libusb lends what the kernel has. Set to false, it says that there is none.
  static void allow(bool allowed);
  /// Bytes of bulk reads submitted so far, and how many of them into lent memory.
  static std::int64_t bytesRead();
  static std::int64_t bytesReadWhereLent();
};

}  // namespace orvik::vm
