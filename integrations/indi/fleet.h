// SPDX-License-Identifier: MIT
#pragma once

namespace orvik::indi {

/// From now on all cameras are closed when the driver exits. Call when a camera has been opened:
/// what the library itself does at the exit has to come after this.
void closeCamerasAtExit();

}  // namespace orvik::indi
