// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "orvik/orvik_service.h"
#include "tools/orvikctl/progress.h"

namespace orvik::ctl {

/// Shows how long work on a camera's flash comes along; silent where there is no terminal.
class FlashProgress {
 public:
  FlashProgress() = default;

  /// To be handed to the library together, as its callback and the callback's context.
  static Orvik_PROGRESS callback() { return &FlashProgress::tell; }
  void* context() { return this; }

 private:
  static void tell(void* context, Orvik_STEP step, std::int32_t done, std::int32_t total);

  ProgressLine line_{true};
};

}  // namespace orvik::ctl
