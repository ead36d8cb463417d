// SPDX-License-Identifier: MIT
#pragma once

#include "seam/usb_host.h"

namespace orvik::sim {

/// A vendor request that came to nothing: the camera refused it, or it was to a register that the
/// camera does not have.
struct StrayRequest {
  seam::SetupPacket setup;
  bool refused = false;
};

}  // namespace orvik::sim
