// SPDX-License-Identifier: MIT
// Values of members that take more than a line.
#pragma once

#include "integrations/server/alpaca/answer.h"
#include "integrations/server/alpaca/camera_view.h"

namespace orvik::server {

/// What several members tell at the same moment. What is not known is left out.
Json deviceState(const CameraView& camera);
/// Whether the image is there. @throws AlpacaError if the exposure has failed
Json imageReady(const CameraView& camera);
/// Whether connecting or disconnecting goes on. @throws AlpacaError if it has failed
Json connecting(const CameraView& camera);
/// Whether a guide line is on. @throws AlpacaError if a pulse has failed
Json isPulseGuiding(const CameraView& camera);
/// Column or row of red in the sensor's top left cell of 2 x 2 pixels, as its images show it.
Json bayerOffsetX(const CameraView& camera);
Json bayerOffsetY(const CameraView& camera);
/// @throws AlpacaError if there is no valid reading
Json temperature(const CameraView& camera);
/// The cooler's state. @throws AlpacaError if it is not known yet
const CoolingState& cooling(const CameraView& camera);
Json readoutModeNames(const CameraView& camera);
Json lastExposureSeconds(const CameraView& camera);
Json lastExposureStart(const CameraView& camera);
/// At most 64 characters, the length of a value in a FITS header.
Json description(const CameraView& camera);
Json driverInfo(const CameraView& camera);
/// "0.1": the standard allows no third number.
Json driverVersion(const CameraView& camera);

}  // namespace orvik::server
