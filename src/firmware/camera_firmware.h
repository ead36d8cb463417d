// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

#include "camera/camera.h"
#include "orvik/class_types.h"
#include "orvik/orvik.h"

/// Firmware and user ID of a camera. Each function fails during capture, and no capture starts
/// while it runs; see Camera::beginMemoryWork().
namespace orvik::firmware {

/// Loads a firmware file in the format of the bridge of this model, verifies and starts it. The
/// whole file is checked before any of it is sent.
/// @return FWDWNLOAD_SUCCESS only when the program has been started, or the camera has left the
///         bus. After a failure the processor of a USB 2 bridge may be held.
FX3_FWDWNLOAD_ERROR_CODE loadFirmware(Camera& camera, std::span<const std::uint8_t> file);

/// readId() and writeId(), through the camera's flash.
/// @param[out] id changed on success only
bool readCameraId(Camera& camera, Orvik_ID& id);
bool writeCameraId(Camera& camera, const Orvik_ID& id);

}  // namespace orvik::firmware
