// SPDX-License-Identifier: MIT
#include "link/guide_lines.h"

namespace orvik {

bool GuideLines::switchOn(std::size_t line) {
  return line < kCount && link_.send(VendorRequest::kGuideOn, static_cast<std::uint16_t>(line));
}

bool GuideLines::switchOff(std::size_t line) {
  if (line >= kCount) return false;
  const bool off = link_.sendSafe(guideOff(line));
  endPulse(line);  // also after a failure: waiting does not switch it off any sooner
  return off;
}

void GuideLines::endPulse(std::size_t line) {
  {
    const std::lock_guard lock(mutex_);
    pulsing_.at(line) = false;
  }
  ended_.notify_all();
}

bool GuideLines::pulse(std::size_t line, seam::Clock& clock, seam::Clock::Duration length) {
  if (line >= kCount) return false;
  {
    const std::lock_guard lock(mutex_);
    pulsing_.at(line) = true;
  }
  const bool on = switchOn(line);
  if (on && length > seam::Clock::Duration::zero()) {
    std::unique_lock lock(mutex_);
    clock.waitUntil(lock, ended_, clock.now() + length, [&] { return !pulsing_.at(line); });
  }
  const bool off = switchOff(line);  // also after a failure: only the answer may have been lost
  return on && off;
}

void GuideLines::letGo() {
  for (std::size_t line = 0; line < kCount; ++line) {
    if (!link_.isSettled(guideOff(line))) link_.sendSafe(guideOff(line));
    endPulse(line);
  }
}

}  // namespace orvik
