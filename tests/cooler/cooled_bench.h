// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "models/models.h"
#include "support/stepped_clock.h"
#include "support/virtual_bench.h"

namespace orvik::test {

/// Virtual cooled cameras that run in simulated time.
struct CooledBench {
  int plug(sim::CameraOptions options = {}) { return bench.plug(options, "T13C_C"); }

  std::shared_ptr<SteppedClock> clock = std::make_shared<SteppedClock>();
  VirtualBench bench{clock};
};

}  // namespace orvik::test
