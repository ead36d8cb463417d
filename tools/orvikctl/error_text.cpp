// SPDX-License-Identifier: MIT
#include "tools/orvikctl/error_text.h"

#include <algorithm>
#include <array>
#include <string>

namespace orvik::ctl {
namespace {

constexpr std::array kTexts = {
    ErrorText{Orvik_OK, ExitCode::kOk, "done", ""},
    ErrorText{Orvik_ERROR_INFO_INDEX, ExitCode::kNoCamera, "there is no camera with this index",
              "Run `orvikctl list` to see the cameras; their indices shift when one is plugged or "
              "unplugged."},
    ErrorText{Orvik_ERROR_CAMERA_INDEX, ExitCode::kNoCamera, "there is no camera with this index",
              "Run `orvikctl list` to see the cameras; their indices shift when one is plugged or "
              "unplugged."},
    ErrorText{Orvik_ERROR_CONTROL, ExitCode::kUsage,
              "the camera has no such control, or its value could not be read",
              "Run `orvikctl controls` to see what this camera offers."},
    ErrorText{Orvik_ERROR_NO_CAMERA_OBJECT, ExitCode::kCameraFailed,
              "the camera is not open, its model is unknown, or capture could not be started or "
              "stopped",
              "Unplug the camera, plug it in again and repeat. If `orvikctl list` calls its model "
              "unknown, this version does not support it."},
    ErrorText{Orvik_ERROR_OPEN_FAILED, ExitCode::kOpenFailed, "the camera could not be opened",
              "Is it plugged in? Is another program using it? May you use it? Run `orvikctl "
              "doctor` to find out."},
    ErrorText{Orvik_ERROR_DARK_FILE_PATH, ExitCode::kFileFailed,
              "the dark frame could not be opened", "Check the path and that you may read it."},
    ErrorText{Orvik_ERROR_DARK_FILE_FORMAT, ExitCode::kFileFailed,
              "the dark frame does not fit this camera",
              "It must be an 8-bit bitmap of the sensor's full size; `orvikctl info` tells it."},
    ErrorText{Orvik_ERROR_ROI_SIZE, ExitCode::kUsage,
              "the camera refused this size, bin or image type",
              "Width must be a multiple of 4, height even, and size times bin must lie within the "
              "sensor; `orvikctl info` tells its size, bins and image types."},
    ErrorText{Orvik_ERROR_IMAGE_TYPE, ExitCode::kUsage, "there is no such image type",
              "`orvikctl info` tells which types this camera offers."},
    ErrorText{Orvik_ERROR_START_POS, ExitCode::kUsage,
              "the camera refused the position of the region",
              "Region and position together must lie within the sensor."},
    ErrorText{Orvik_ERROR_NO_FRAME, ExitCode::kCameraFailed, "no image came in time",
              "Is the camera still plugged in? If so, try a lower --bandwidth, another cable or "
              "another port."},
    ErrorText{Orvik_ERROR_RESERVED_12, ExitCode::kCameraFailed,
              "the library answered with a code that has no meaning",
              "This program and the library may be of different versions."},
    ErrorText{Orvik_ERROR_BUFFER_SMALL, ExitCode::kInternal, "the buffer is smaller than the image",
              "This is a fault of orvikctl; report it."},
    ErrorText{Orvik_ERROR_VIDEO_RUNNING, ExitCode::kCameraFailed, "video is running",
              "Stop the video first."},
    ErrorText{Orvik_ERROR_EXPOSING, ExitCode::kCameraFailed, "a snapshot is being exposed",
              "Wait for its end, or abort it."},
    ErrorText{Orvik_ERROR_DRIVER_FAILED, ExitCode::kCameraFailed,
              "the camera did not do what was asked",
              "Is it still plugged in? If so, unplug it, plug it in again and repeat."},
    ErrorText{Orvik_ERROR_ARGUMENT, ExitCode::kUsage, "a value is outside its range",
              "The command's --help tells what it takes."},
    ErrorText{Orvik_ERROR_NO_DARK, ExitCode::kUsage, "the camera has no dark frame",
              "Take one with `orvikctl dark record`, or name a file."},
    ErrorText{Orvik_ERROR_NO_TABLE, ExitCode::kCameraFailed,
              "the camera has no table of hot pixels, or it cannot be read",
              "Make one with `orvikctl hotpixels save`."},
    ErrorText{Orvik_ERROR_FILE, ExitCode::kFileFailed, "the file cannot be read or written",
              "Check the path, that you may use it, and the room on the disk."},
    ErrorText{Orvik_ERROR_FIRMWARE_IMAGE, ExitCode::kUsage,
              "the file is no firmware, is damaged, does not fit, or is for another kind of bridge",
              "Fetch it again from where it came; `orvikctl firmware info` tells what a file is."},
    ErrorText{Orvik_ERROR_FLASH_ERASE, ExitCode::kCameraFailed,
              "the camera's flash could not be erased", "Repeat the command."},
    ErrorText{Orvik_ERROR_VERIFY, ExitCode::kCameraFailed,
              "what was read back from the camera is something else",
              "If it was just written, repeat the command."},
    ErrorText{Orvik_ERROR_TABLE_TOO_LARGE, ExitCode::kUsage,
              "more hot pixels are marked than the camera's flash has room for",
              "The table in the flash is as it was. Was the dark taken with the telescope covered? "
              "A shorter exposure, or a cooler sensor, shows fewer."},
};

constexpr ErrorText kUnknown = {Orvik_ERROR_RESERVED_12, ExitCode::kCameraFailed,
                                "the library answered with a code that this program does not know",
                                "This program and the library may be of different versions."};

}  // namespace

const ErrorText& explain(Orvik_ERROR_CODE code) {
  const auto* found = std::find_if(kTexts.begin(), kTexts.end(),
                                   [code](const ErrorText& text) { return text.code == code; });
  return found == kTexts.end() ? kUnknown : *found;
}

void check(Orvik_ERROR_CODE code, std::string_view doing) {
  if (code == Orvik_OK) return;
  const ErrorText& text = explain(code);
  throw Failure(text.exitCode, std::string(doing) + ": " + text.what + " (code " +
                                   std::to_string(static_cast<int>(code)) + "). " + text.next);
}

}  // namespace orvik::ctl
