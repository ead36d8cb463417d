// SPDX-License-Identifier: MIT
// The guide port of CCameraBase.
#include <chrono>
#include <cstddef>

#include "camera/camera_base.h"

namespace orvik {
namespace {

/// A direction that does not exist stays one that does not.
std::size_t lineOf(GuideD direction) { return static_cast<std::uint32_t>(direction); }

}  // namespace

bool CCameraBase::pulseGuideOn(GuideD direction) {
  guideLines_.switchOn(lineOf(direction));
  return true;
}

bool CCameraBase::pulseGuideOff(GuideD direction) {
  guideLines_.switchOff(lineOf(direction));
  return true;
}

bool CCameraBase::pulseGuide(GuideD direction, int ms) {
  guideLines_.pulse(lineOf(direction), clock(), std::chrono::milliseconds(ms));
  return true;
}

}  // namespace orvik
