// SPDX-License-Identifier: MIT
#include "imaging/cooling_ramp.h"

#include <algorithm>
#include <cmath>

namespace orvik::imaging {

double CoolingRamp::duration() const { return std::abs(to_ - from_) / rate_; }

int CoolingRamp::targetAt(double seconds) const {
  const double gone = std::min(rate_ * std::max(seconds, 0.0), std::abs(to_ - from_));
  return static_cast<int>(std::lround(to_ < from_ ? from_ - gone : from_ + gone));
}

}  // namespace orvik::imaging
