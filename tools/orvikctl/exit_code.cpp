// SPDX-License-Identifier: MIT
#include "tools/orvikctl/exit_code.h"

#include "orvik/orvik_service.h"

namespace orvik::ctl {

// A switch, so that the compiler names a code that was forgotten.
ExitCode exitCodeOf(Orvik_ERROR_CODE code) {
  switch (code) {
    case Orvik_OK:
      return ExitCode::kOk;
    case Orvik_ERROR_INFO_INDEX:
    case Orvik_ERROR_CAMERA_INDEX:
    case Orvik_ERROR_NO_DEVICE:
    case Orvik_ERROR_SEVERAL_DEVICES:
      return ExitCode::kNoCamera;
    case Orvik_ERROR_OPEN_FAILED:
      return ExitCode::kOpenFailed;
    case Orvik_ERROR_CONTROL:
    case Orvik_ERROR_ROI_SIZE:
    case Orvik_ERROR_IMAGE_TYPE:
    case Orvik_ERROR_START_POS:
    case Orvik_ERROR_ARGUMENT:
    case Orvik_ERROR_NO_DARK:
    case Orvik_ERROR_FIRMWARE_IMAGE:
    case Orvik_ERROR_TABLE_TOO_LARGE:
      return ExitCode::kUsage;
    case Orvik_ERROR_DARK_FILE_PATH:
    case Orvik_ERROR_DARK_FILE_FORMAT:
    case Orvik_ERROR_FILE:
      return ExitCode::kFileFailed;
    case Orvik_ERROR_BUFFER_SMALL:
      return ExitCode::kInternal;
    case Orvik_ERROR_NO_CAMERA_OBJECT:
    case Orvik_ERROR_NO_FRAME:
    case Orvik_ERROR_RESERVED_12:
    case Orvik_ERROR_VIDEO_RUNNING:
    case Orvik_ERROR_EXPOSING:
    case Orvik_ERROR_DRIVER_FAILED:
    case Orvik_ERROR_NO_TABLE:
    case Orvik_ERROR_FLASH_ERASE:
    case Orvik_ERROR_VERIFY:
    case Orvik_ERROR_TIMEOUT:
    case Orvik_ERROR_NOT_SUPPORTED:
      break;
  }
  return ExitCode::kCameraFailed;
}

}  // namespace orvik::ctl
