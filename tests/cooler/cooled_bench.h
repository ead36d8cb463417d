// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "models/models.h"
#include "support/stepped_clock.h"
#include "support/virtual_bench.h"

namespace orvik::test {

/// Forgets what other tests of the process sent to coolers: the next value is sent, whatever it is.
inline void forgetLastDrive() { CCameraT13C_C().SetDA(0); }

/// Virtual cooled cameras that live on simulated time.
struct CooledBench {
  CooledBench() { forgetLastDrive(); }

  int plug(sim::CameraOptions options = {}) { return bench.plug(options, "T13C_C"); }

  std::shared_ptr<SteppedClock> clock = std::make_shared<SteppedClock>();
  VirtualBench bench{clock};
};

}  // namespace orvik::test
