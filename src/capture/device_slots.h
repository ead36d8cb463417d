// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "usb/usb_device.h"

namespace orvik {

/// Memory that the device writes to without a copy in the kernel, in slots of one read each.
///
/// Not every system has such memory, and on some machines it is not cached, so that reading it
/// costs far more than the copy it spares: the first slot is tried out, and only a fast one is
/// used.
class DeviceSlots {
 public:
  DeviceSlots(CUsbDevice& device, std::size_t slotBytes) : device_(device), slotBytes_(slotBytes) {}

  /// Whether reads go through slots here. False once the system has turned out to have no (fast)
  /// memory of this kind.
  [[nodiscard]] bool inUse() const { return inUse_; }

  /// @return null when there is none at present (more are in flight than the system gives), or none
  ///         at all.
  std::shared_ptr<std::uint8_t[]> take();

  /// Null is ignored.
  void giveBack(std::shared_ptr<std::uint8_t[]> slot);

 private:
  CUsbDevice& device_;
  const std::size_t slotBytes_;
  std::vector<std::shared_ptr<std::uint8_t[]>> free_;
  std::size_t made_ = 0;
  bool inUse_ = true;
};

}  // namespace orvik
