// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "usb/usb_device.h"

namespace orvik {

/// Memory to which the device writes without a copy in the kernel, in slots of one read each.
///
/// Not every system has such memory, and on some machines it is not cached, so that reading it
/// costs far more than the copy it saves: the first slot is measured, and the memory is used only
/// if it is fast.
class DeviceSlots {
 public:
  DeviceSlots(CUsbDevice& device, std::size_t slotBytes) : device_(device), slotBytes_(slotBytes) {}

  /// Whether reads use slots. False once the system has turned out to have no such memory, or only
  /// slow one.
  [[nodiscard]] bool inUse() const { return inUse_; }

  /// @return null when all the memory that the system grants is in flight, or there is none at all.
  std::shared_ptr<std::uint8_t[]> take();

  /// @param slot null is ignored
  void giveBack(std::shared_ptr<std::uint8_t[]> slot);

 private:
  CUsbDevice& device_;
  const std::size_t slotBytes_;
  std::vector<std::shared_ptr<std::uint8_t[]>> free_;
  std::size_t made_ = 0;
  bool inUse_ = true;
};

}  // namespace orvik
