// SPDX-License-Identifier: MIT
#pragma once

#include "base/stop_switch.h"
#include "cooler/cooler.h"
#include "state/camera_state.h"

namespace orvik::cooler {

/// The work of the thread that regulates a cooler: measures about every 1.8 seconds and makes a
/// step of regulation at every second measurement, until it is stopped.
void keepTemperature(Cooler& cooler, CameraState& state, StopSwitch& work);

}  // namespace orvik::cooler
