// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/clock.h"

namespace orvik {

/// The clock that a camera made now will use: the installed one, else the steady clock of the
/// system. Any thread.
std::shared_ptr<seam::Clock> currentClock();

/// Replaces the steady clock by another clock, or restores it (null). Existing cameras keep their
/// clock. Any thread.
void installClock(std::shared_ptr<seam::Clock> clock);

}  // namespace orvik
