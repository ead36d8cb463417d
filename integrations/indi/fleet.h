// SPDX-License-Identifier: MIT
#pragma once

namespace orvik::indi {

/// Has all cameras closed when the driver exits, before anything that was registered for the exit
/// until now. Call it again when a camera was opened: what the library does has to come afterwards.
void closeCamerasAtExit();

}  // namespace orvik::indi
