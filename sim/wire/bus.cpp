// SPDX-License-Identifier: MIT
#include "sim/wire/bus.h"

#include <algorithm>
#include <vector>

namespace orvik::sim {

void Bus::want(const void* camera, double bytesPerSecond) {
  const std::lock_guard lock(mutex_);
  if (bytesPerSecond > 0) {
    wants_[camera] = bytesPerSecond;
  } else {
    wants_.erase(camera);
  }
}

double Bus::shareOf(const void* camera) const {
  std::vector<double> others;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [other, wanted] : wants_) {
      if (other != camera) others.push_back(wanted);
    }
  }
  std::ranges::sort(others);
  double left = bytesPerSecond_;
  std::size_t sharers = others.size() + 1;
  for (const double wanted : others) {
    if (wanted >= left / static_cast<double>(sharers)) break;
    left -= wanted;
    --sharers;
  }
  return left / static_cast<double>(sharers);
}

}  // namespace orvik::sim
