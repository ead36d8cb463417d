// SPDX-License-Identifier: MIT
#include "capture/device_slots.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace orvik {
namespace {

/// The shortest of a few measurements of the time to copy `bytes` out of `from`.
std::chrono::nanoseconds copyTime(const std::uint8_t* from, std::uint8_t* to, std::size_t bytes) {
  constexpr int kTries = 3;
  auto best = std::chrono::nanoseconds::max();
  for (int i = 0; i < kTries; ++i) {
    const auto start = std::chrono::steady_clock::now();
    std::memcpy(to, from, bytes);
    best = std::min<std::chrono::nanoseconds>(best, std::chrono::steady_clock::now() - start);
  }
  return best;
}

/// Whether the processor reads this memory about as fast as ordinary memory.
bool isFast(const std::uint8_t* memory, std::size_t bytes) {
  constexpr std::size_t kSample = std::size_t{64} * 1024;
  constexpr int kTolerance = 4;
  const std::size_t sample = std::min(bytes, kSample);
  std::vector<std::uint8_t> ordinary(sample, 1);
  std::vector<std::uint8_t> target(sample, 1);
  const auto usual = copyTime(ordinary.data(), target.data(), sample);
  return copyTime(memory, target.data(), sample) <= kTolerance * usual;
}

}  // namespace

std::shared_ptr<std::uint8_t[]> DeviceSlots::take() {
  if (!inUse_) return nullptr;
  if (!free_.empty()) {
    auto slot = std::move(free_.back());
    free_.pop_back();
    return slot;
  }
  auto slot = device_.allocateDeviceMemory(slotBytes_);
  if (made_ == 0 && (slot == nullptr || !isFast(slot.get(), slotBytes_))) {
    inUse_ = false;
    return nullptr;
  }
  if (slot) ++made_;
  return slot;
}

void DeviceSlots::giveBack(std::shared_ptr<std::uint8_t[]> slot) {
  if (slot) free_.push_back(std::move(slot));
}

}  // namespace orvik
