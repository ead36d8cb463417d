// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

#include "camera/camera.h"
#include "orvik/class_types.h"
#include "orvik/orvik.h"

/// Firmware and user's mark of a whole camera. Each fails during capture, which does not start
/// meanwhile; see Camera::beginMemoryWork().
namespace orvik::firmware {

/// Loads a firmware file of the format of the model's bridge, verifies and starts it. The file is
/// read to its end before any of it is sent.
/// @return FWDWNLOAD_SUCCESS only when the program has been started, or has taken the camera off
///         the bus. After a failure a USB 2 bridge may be held.
FX3_FWDWNLOAD_ERROR_CODE loadFirmware(Camera& camera, std::span<const std::uint8_t> file);

/// readId() and writeId(), through the camera's flash.
/// @param[out] id changed on success only
bool readCameraId(Camera& camera, Orvik_ID& id);
bool writeCameraId(Camera& camera, const Orvik_ID& id);

}  // namespace orvik::firmware
