// SPDX-License-Identifier: MIT
// The flat functions that set the image format and take images.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "api/guard.h"
#include "base/saturated.h"
#include "orvik/orvik_service.h"

using orvik::Camera;
using orvik::CameraState;
using orvik::DarkFileResult;
using orvik::FrameFormat;
using orvik::FrameQueue;
using orvik::NoFrame;
using orvik::OpenCamera;
using orvik::api::captureCode;
using orvik::api::unlessGone;
using orvik::api::withCamera;

namespace {

Orvik_NO_FRAME_REASON publicReason(NoFrame why) {
  switch (why) {
    case NoFrame::kTimeout:
      return Orvik_NO_FRAME_TIMEOUT;
    case NoFrame::kStopped:
      return Orvik_NO_FRAME_STOPPED;
    case NoFrame::kUnplugged:
      return Orvik_NO_FRAME_UNPLUGGED;
    case NoFrame::kFailed:
      return Orvik_NO_FRAME_FAILED;
    case NoFrame::kDoesNotFit:
      return Orvik_NO_FRAME_TOO_LARGE;
  }
  return Orvik_NO_FRAME_FAILED;
}

/// Delivers an image into a buffer that has room for the format that was set. The format of the
/// image can be an earlier one.
std::optional<NoFrame> deliver(OpenCamera& camera, unsigned char* buffer, std::int32_t bufferSize,
                               FrameQueue::Timeout timeout) {
  Camera& driver = *camera.driver;
  const auto size = static_cast<std::size_t>(std::max(bufferSize, 0));
  if (driver.isUnplugged()) timeout = std::chrono::milliseconds(0);  // only frames already there
  auto missing = driver.takeImage({buffer, size}, timeout);
  if (missing && missing != NoFrame::kDoesNotFit && driver.isUnplugged()) {
    missing = NoFrame::kUnplugged;
  }
  camera.noFrameReason = missing ? publicReason(*missing) : Orvik_NO_FRAME_NONE;
  return missing;
}

bool isTooSmall(const OpenCamera& camera, const unsigned char* buffer, std::int32_t bufferSize) {
  return buffer == nullptr || bufferSize < camera.imageBytes;
}

}  // namespace

Orvik_ERROR_CODE OrvikSetROIFormat(int index, int width, int height, int bin, IMG_TYPE type) {
  return withCamera(index, Orvik_ERROR_ROI_SIZE, [&](OpenCamera& camera) {
    const auto wanted = orvik::driverTypeOf(type);
    if (!wanted) return Orvik_ERROR_IMAGE_TYPE;
    const auto remember = [&camera](const FrameFormat& set) {
      camera.imageBytes = static_cast<int>(set.imageBytes());
    };
    if (!camera.driver->setFormat(width, height, bin, wanted->type, wanted->rawOutput, remember)) {
      return Orvik_ERROR_ROI_SIZE;
    }
    return unlessGone(camera, Orvik_OK, Orvik_ERROR_ROI_SIZE);
  });
}

Orvik_ERROR_CODE OrvikGetROIFormat(int index, int* width, int* height, int* bin, IMG_TYPE* type) {
  return withCamera(index, Orvik_ERROR_ROI_SIZE, [&](OpenCamera& camera) {
    if (width == nullptr || height == nullptr || bin == nullptr || type == nullptr) {
      return Orvik_ERROR_ROI_SIZE;
    }
    const FrameFormat format = camera.driver->format();
    *width = format.width;
    *height = format.height;
    *bin = format.bin;
    *type = orvik::publicTypeOf(format.type, format.rawOutput);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikSetStartPos(int index, int x, int y) {
  return withCamera(index, Orvik_ERROR_START_POS, [&](OpenCamera& camera) {
    Camera& driver = *camera.driver;
    const CameraState& state = driver.state();
    const std::int64_t bin = state.bin;
    // If the read-out counts rows from the bottom, y still counts from the top of the image.
    const std::int64_t sensorX = bin * x;
    const std::int64_t sensorY =
        state.rowMirror ? driver.model().maxHeight - (state.height + std::int64_t{y}) * bin
                        : bin * y;
    const bool moved =
        driver.setStartPosition(orvik::saturatedInt(sensorX), orvik::saturatedInt(sensorY));
    return unlessGone(camera, moved ? Orvik_OK : Orvik_ERROR_START_POS, Orvik_ERROR_START_POS);
  });
}

Orvik_ERROR_CODE OrvikGetStartPos(int index, int* x, int* y) {
  return withCamera(index, Orvik_ERROR_START_POS, [&](OpenCamera& camera) {
    if (x == nullptr || y == nullptr) return Orvik_ERROR_START_POS;
    const CameraState& state = camera.driver->state();
    const int bin = state.bin;
    *x = state.startX / bin;
    *y = state.startY / bin;
    if (state.rowMirror) *y = camera.driver->model().maxHeight / bin - state.height - *y;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetDroppedFrames(int index, int* dropped) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (dropped == nullptr) return Orvik_ERROR_DRIVER_FAILED;
    const auto capture = camera.driver->capture().current();
    *dropped = capture ? capture->lostFrames() : 0;
    return Orvik_OK;
  });
}

// NOLINTNEXTLINE(readability-non-const-parameter): the published signature
Orvik_ERROR_CODE OrvikEnableDarkSubtract(int index, char* bmpPath, Orvik_BOOL* inUse) {
  return withCamera(index, Orvik_ERROR_DARK_FILE_FORMAT, [&](OpenCamera& camera) {
    if (inUse == nullptr) return Orvik_ERROR_DARK_FILE_PATH;
    if (*inUse == Orvik_FALSE) {
      *inUse = camera.driver->dark().isInUse() ? Orvik_TRUE : Orvik_FALSE;
      return Orvik_OK;
    }
    if (bmpPath == nullptr) return Orvik_ERROR_DARK_FILE_PATH;
    switch (camera.driver->dark().load(bmpPath)) {
      case DarkFileResult::kDone:
        camera.driver->dark().use(true);
        return Orvik_OK;
      case DarkFileResult::kCannotOpen:
        return Orvik_ERROR_DARK_FILE_PATH;
      default:
        return Orvik_ERROR_DARK_FILE_FORMAT;
    }
  });
}

Orvik_ERROR_CODE OrvikDisableDarkSubtract(int index) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [](OpenCamera& camera) {
    camera.driver->dark().use(false);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikStartVideoCapture(int index) {
  return withCamera(index, Orvik_ERROR_NO_CAMERA_OBJECT, [](OpenCamera& camera) {
    if (captureCode(camera.driver->capture()) == Orvik_ERROR_EXPOSING) return Orvik_ERROR_EXPOSING;
    return camera.driver->startCapture(false) ? Orvik_OK : Orvik_ERROR_NO_CAMERA_OBJECT;
  });
}

Orvik_ERROR_CODE OrvikStopVideoCapture(int index) {
  return withCamera(index, Orvik_ERROR_NO_CAMERA_OBJECT, [](OpenCamera& camera) {
    return camera.driver->stopCapture() ? Orvik_OK : Orvik_ERROR_NO_CAMERA_OBJECT;
  });
}

Orvik_ERROR_CODE OrvikGetVideoData(int index, unsigned char* buffer, std::int32_t bufferSize,
                                   int waitMs) {
  return withCamera(index, Orvik_ERROR_NO_FRAME, [&](OpenCamera& camera) {
    if (isTooSmall(camera, buffer, bufferSize)) return Orvik_ERROR_BUFFER_SMALL;
    FrameQueue::Timeout timeout;
    if (waitMs >= 0) timeout = std::chrono::milliseconds(waitMs);
    return deliver(camera, buffer, bufferSize, timeout) ? Orvik_ERROR_NO_FRAME : Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikStartExposure(int index) {
  return withCamera(index, Orvik_ERROR_NO_CAMERA_OBJECT, [](OpenCamera& camera) {
    if (camera.driver->capture().isRunning()) return Orvik_ERROR_VIDEO_RUNNING;
    camera.driver->startCapture(true);  // the exposure status reports a failure
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikStopExposure(int index) {
  return withCamera(index, Orvik_ERROR_NO_CAMERA_OBJECT, [](OpenCamera& camera) {
    camera.driver->stopCapture();
    camera.driver->forgetCapture();
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetExpStatus(int index, Orvik_EXPOSURE_STATUS* status) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (status == nullptr) return Orvik_ERROR_DRIVER_FAILED;
    *status = camera.driver->capture().status();
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetDataAfterExp(int index, unsigned char* buffer, std::int32_t bufferSize) {
  return withCamera(index, Orvik_ERROR_BUFFER_SMALL, [&](OpenCamera& camera) {
    if (isTooSmall(camera, buffer, bufferSize)) return Orvik_ERROR_BUFFER_SMALL;
    // A missing image is reported by the status only, but an image that does not fit is an error.
    const auto missing = deliver(camera, buffer, bufferSize, std::nullopt);
    return missing == NoFrame::kDoesNotFit ? Orvik_ERROR_NO_FRAME : Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetNoFrameReason(int index, Orvik_NO_FRAME_REASON* reason) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](const OpenCamera& camera) {
    if (reason == nullptr) return Orvik_ERROR_ARGUMENT;
    *reason = camera.noFrameReason;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetReadoutInfo(int index, Orvik_READOUT_INFO* info) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](const OpenCamera& camera) {
    if (info == nullptr) return Orvik_ERROR_ARGUMENT;
    info->converterBits = camera.driver->converterBits();
    info->frameBytes = static_cast<std::int32_t>(camera.driver->format().imageBytes());
    info->frameRate = camera.driver->expectedFrameRate();
    return Orvik_OK;
  });
}
