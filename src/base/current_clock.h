// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/clock.h"

namespace orvik {

/// The clock that cameras made from now on live by: the one installed, else the machine's steady
/// clock. Any thread.
std::shared_ptr<seam::Clock> currentClock();

/// Puts another clock in the steady clock's place, or gives it its place back (null). Cameras that
/// exist keep theirs. Any thread.
void installClock(std::shared_ptr<seam::Clock> clock);

}  // namespace orvik
