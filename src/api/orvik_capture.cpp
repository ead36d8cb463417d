// SPDX-License-Identifier: MIT
// The flat functions that set the image format and take images.
#include "api/guard.h"
#include "camera/saturated.h"
#include "orvik/orvik_service.h"

using orvik::CameraState;
using orvik::CCameraBase;
using orvik::DarkFileResult;
using orvik::IMAGE_TYPE;
using orvik::OpenCamera;
using orvik::api::unlessGone;
using orvik::api::withCamera;

namespace {

constexpr int kNoLimit = -1;

/// A public image type as the drivers know it.
struct Format {
  bool rawOutput;
  IMAGE_TYPE internalType;
  int bytesPerPixel;
};

Format formatOf(IMG_TYPE type) {
  switch (type) {
    case Orvik_IMG_RAW8:
      return {true, orvik::IMAGE_8BIT, 1};
    case Orvik_IMG_RGB24:
      return {false, orvik::IMAGE_RGB24, 3};
    case Orvik_IMG_RAW16:
      return {true, orvik::IMAGE_RAW16, 2};
    default:
      return {false, orvik::IMAGE_8BIT, 1};
  }
}

IMG_TYPE publicType(const CameraState& state) {
  switch (state.imageType.load()) {
    case orvik::IMAGE_8BIT:
      return state.rawOutput ? Orvik_IMG_RAW8 : Orvik_IMG_Y8;
    case orvik::IMAGE_RGB24:
      return Orvik_IMG_RGB24;
    case orvik::IMAGE_RAW16:
      return Orvik_IMG_RAW16;
    default:
      return Orvik_IMG_Y8;
  }
}

/// Why a delivery that has just ended brought no frame, as far as the camera's state tells.
Orvik_NO_FRAME_REASON whyNoFrame(const CCameraBase& driver) {
  const CameraState& state = driver.state();
  if (driver.isUnplugged()) return Orvik_NO_FRAME_UNPLUGGED;
  if (state.capturing) return Orvik_NO_FRAME_TIMEOUT;
  return state.exposureStatus == Orvik_EXPSTATE_FAILED ? Orvik_NO_FRAME_FAILED
                                                       : Orvik_NO_FRAME_STOPPED;
}

/// Delivers an image of the size that the format set; `bufferSize` has been checked against it.
bool deliver(OpenCamera& camera, unsigned char* buffer, int waitMs) {
  CCameraBase& driver = *camera.driver;
  const int wait = waitMs < 0 ? kNoLimit : waitMs;
  const bool delivered =
      driver.GetImage(buffer, camera.imageBytes, static_cast<std::uint32_t>(wait));
  driver.state().noFrameReason = delivered ? Orvik_NO_FRAME_NONE : whyNoFrame(driver);
  return delivered;
}

bool isTooSmall(const OpenCamera& camera, const unsigned char* buffer, int32_t bufferSize) {
  return buffer == nullptr || bufferSize < camera.imageBytes;
}

}  // namespace

Orvik_ERROR_CODE OrvikSetROIFormat(int index, int width, int height, int bin, IMG_TYPE type) {
  return withCamera(index, Orvik_ERROR_ROI_SIZE, [&](OpenCamera& camera) {
    if (type < Orvik_IMG_RAW8 || type > Orvik_IMG_Y8) return Orvik_ERROR_IMAGE_TYPE;
    const Format format = formatOf(type);
    camera.driver->state().rawOutput = format.rawOutput;
    if (!camera.driver->SetResolution(width, height, bin, format.internalType)) {
      return Orvik_ERROR_ROI_SIZE;
    }
    camera.imageBytes = width * height * format.bytesPerPixel;
    return unlessGone(camera, Orvik_OK, Orvik_ERROR_ROI_SIZE);
  });
}

Orvik_ERROR_CODE OrvikGetROIFormat(int index, int* width, int* height, int* bin, IMG_TYPE* type) {
  return withCamera(index, Orvik_ERROR_ROI_SIZE, [&](OpenCamera& camera) {
    if (width == nullptr || height == nullptr || bin == nullptr || type == nullptr) {
      return Orvik_ERROR_ROI_SIZE;
    }
    const CameraState& state = camera.driver->state();
    *width = state.width;
    *height = state.height;
    *bin = state.bin;
    *type = publicType(state);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikSetStartPos(int index, int x, int y) {
  return withCamera(index, Orvik_ERROR_START_POS, [&](OpenCamera& camera) {
    CCameraBase& driver = *camera.driver;
    const CameraState& state = driver.state();
    const std::int64_t bin = state.bin;
    // With a readout that counts rows from the bottom, y still counts from the image's top.
    const std::int64_t sensorX = bin * x;
    const std::int64_t sensorY =
        state.rowMirror ? driver.GetMaxHeight() - (state.height + std::int64_t{y}) * bin : bin * y;
    const bool moved =
        driver.SetStartPos(orvik::saturatedInt(sensorX), orvik::saturatedInt(sensorY));
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
    if (state.rowMirror) *y = camera.driver->GetMaxHeight() / bin - state.height - *y;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetDroppedFrames(int index, int* dropped) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (dropped == nullptr) return Orvik_ERROR_DRIVER_FAILED;
    *dropped = camera.driver->state().droppedFrames;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikEnableDarkSubtract(int index, char* bmpPath, Orvik_BOOL* inUse) {
  return withCamera(index, Orvik_ERROR_DARK_FILE_FORMAT, [&](OpenCamera& camera) {
    if (inUse == nullptr) return Orvik_ERROR_DARK_FILE_PATH;
    if (*inUse == Orvik_FALSE) {
      *inUse = camera.driver->IsDarkInUse() ? Orvik_TRUE : Orvik_FALSE;
      return Orvik_OK;
    }
    if (bmpPath == nullptr) return Orvik_ERROR_DARK_FILE_PATH;
    switch (static_cast<DarkFileResult>(camera.driver->LoadBMPFromFile(bmpPath))) {
      case DarkFileResult::kDone:
        camera.driver->UsingDark(true);
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
    camera.driver->UsingDark(false);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikStartVideoCapture(int index) {
  return withCamera(index, Orvik_ERROR_NO_CAMERA_OBJECT, [](OpenCamera& camera) {
    const CameraState& state = camera.driver->state();
    if (state.snapshot && state.exposureStatus == Orvik_EXPSTATE_EXPOSING) {
      return Orvik_ERROR_EXPOSING;
    }
    return camera.driver->StartCapture(false) ? Orvik_OK : Orvik_ERROR_NO_CAMERA_OBJECT;
  });
}

Orvik_ERROR_CODE OrvikStopVideoCapture(int index) {
  return withCamera(index, Orvik_ERROR_NO_CAMERA_OBJECT, [](OpenCamera& camera) {
    return camera.driver->StopCapture() ? Orvik_OK : Orvik_ERROR_NO_CAMERA_OBJECT;
  });
}

Orvik_ERROR_CODE OrvikGetVideoData(int index, unsigned char* buffer, int32_t bufferSize,
                                   int waitMs) {
  return withCamera(index, Orvik_ERROR_NO_FRAME, [&](OpenCamera& camera) {
    if (isTooSmall(camera, buffer, bufferSize)) return Orvik_ERROR_BUFFER_SMALL;
    return deliver(camera, buffer, waitMs) ? Orvik_OK : Orvik_ERROR_NO_FRAME;
  });
}

Orvik_ERROR_CODE OrvikStartExposure(int index) {
  return withCamera(index, Orvik_ERROR_NO_CAMERA_OBJECT, [](OpenCamera& camera) {
    if (camera.driver->state().capturing) return Orvik_ERROR_VIDEO_RUNNING;
    camera.driver->StartCapture(true);  // the status tells how it went
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikStopExposure(int index) {
  return withCamera(index, Orvik_ERROR_NO_CAMERA_OBJECT, [](OpenCamera& camera) {
    camera.driver->StopCapture();
    camera.driver->state().exposureStatus = Orvik_EXPSTATE_NONE;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetExpStatus(int index, Orvik_EXPOSURE_STATUS* status) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (status == nullptr) return Orvik_ERROR_DRIVER_FAILED;
    *status = camera.driver->state().exposureStatus;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetDataAfterExp(int index, unsigned char* buffer, int32_t bufferSize) {
  return withCamera(index, Orvik_ERROR_BUFFER_SMALL, [&](OpenCamera& camera) {
    if (isTooSmall(camera, buffer, bufferSize)) return Orvik_ERROR_BUFFER_SMALL;
    deliver(camera, buffer, kNoLimit);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetNoFrameReason(int index, Orvik_NO_FRAME_REASON* reason) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](const OpenCamera& camera) {
    if (reason == nullptr) return Orvik_ERROR_ARGUMENT;
    *reason = camera.driver->state().noFrameReason;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetReadoutInfo(int index, Orvik_READOUT_INFO* info) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](const OpenCamera& camera) {
    if (info == nullptr) return Orvik_ERROR_ARGUMENT;
    info->converterBits = camera.driver->converterBits();
    info->frameBytes = camera.imageBytes;
    info->frameRate = camera.driver->expectedFrameRate();
    return Orvik_OK;
  });
}
