// SPDX-License-Identifier: MIT
// The flat functions for the version of the library and the texts of its codes.
#include <string_view>

#include "orvik/orvik_service.h"

#define ORVIK_TEXT_OF(number) #number
#define ORVIK_VERSION_TEXT(major, minor, patch) \
  ORVIK_TEXT_OF(major) "." ORVIK_TEXT_OF(minor) "." ORVIK_TEXT_OF(patch)

static_assert(std::string_view(ORVIK_PROJECT_VERSION) ==
                  ORVIK_VERSION_TEXT(ORVIK_VERSION_MAJOR, ORVIK_VERSION_MINOR, ORVIK_VERSION_PATCH),
              "orvik.h and CMakeLists.txt tell different versions");

const char* OrvikGetVersion() { return ORVIK_PROJECT_VERSION; }

// A switch, so that the compiler reports a missing code.
const char* OrvikErrorText(Orvik_ERROR_CODE code) {
  switch (code) {
    case Orvik_OK:
      return "The call succeeded.";
    case Orvik_ERROR_INFO_INDEX:
    case Orvik_ERROR_CAMERA_INDEX:
      return "No camera has this index or handle. Indices shift when cameras are plugged or "
             "unplugged: list the cameras again, or use handles.";
    case Orvik_ERROR_CONTROL:
      return "The camera has no such control, or its value could not be read. Ask for the list of "
             "its controls.";
    case Orvik_ERROR_NO_CAMERA_OBJECT:
      return "The camera is not open, its model is unknown to this version, or capture could not "
             "be started or stopped. Open it again; if it was unplugged, close it first.";
    case Orvik_ERROR_OPEN_FAILED:
      return "The camera could not be opened. Is it plugged in? Is another program using it, or "
             "has this one opened it already? Is it permitted? `orvikctl doctor` examines it.";
    case Orvik_ERROR_DARK_FILE_PATH:
      return "The file of the dark frame could not be opened. Check its path, and that you may "
             "read it.";
    case Orvik_ERROR_DARK_FILE_FORMAT:
      return "The dark frame does not fit this camera. It must be an 8-bit bitmap of the sensor's "
             "full size.";
    case Orvik_ERROR_ROI_SIZE:
      return "The camera refused this size, bin or image type, or is unplugged. Width must be a "
             "multiple of 4, height even, and size times bin must lie within the sensor.";
    case Orvik_ERROR_IMAGE_TYPE:
      return "There is no such image type. The camera's properties name those that it offers.";
    case Orvik_ERROR_START_POS:
      return "The camera refused the position of the region, or is unplugged. Region and position "
             "together must lie within the sensor.";
    case Orvik_ERROR_NO_FRAME:
      return "No image came in time, or none that fits into the buffer. Is the camera still "
             "plugged in, and is capture running? If "
             "so, try a lower bandwidth, another cable or another port.";
    case Orvik_ERROR_RESERVED_12:
      break;
    case Orvik_ERROR_BUFFER_SMALL:
      return "The buffer is smaller than the image. Make it as large as the present format needs.";
    case Orvik_ERROR_VIDEO_RUNNING:
      return "Video is running. Stop it first.";
    case Orvik_ERROR_EXPOSING:
      return "A snapshot is being exposed. Wait for its end, or stop it.";
    case Orvik_ERROR_DRIVER_FAILED:
      return "The camera did not carry out the request. Is it still plugged in? If so, unplug it, "
             "plug "
             "it in again and repeat the call.";
    case Orvik_ERROR_ARGUMENT:
      return "A pointer is null, or a value is outside its range. The documentation of the "
             "function names the valid values.";
    case Orvik_ERROR_NO_DARK:
      return "The camera has no dark frame. Record one, or load a file.";
    case Orvik_ERROR_NO_TABLE:
      return "The camera has no table of hot pixels, or it cannot be read. Make one from a dark "
             "frame.";
    case Orvik_ERROR_FILE:
      return "The file cannot be read or written. Check its path, that you may use it, and the "
             "room on the disk.";
    case Orvik_ERROR_FIRMWARE_IMAGE:
      return "The file is no firmware, is damaged, does not fit, or is for another kind of USB "
             "bridge. Fetch it again from where it came.";
    case Orvik_ERROR_FLASH_ERASE:
      return "A sector of the camera's flash could not be erased. Repeat the operation.";
    case Orvik_ERROR_VERIFY:
      return "The data that was read back from the camera differs from what was expected. If it "
             "was "
             "just written, write it again.";
    case Orvik_ERROR_TABLE_TOO_LARGE:
      return "More hot pixels are marked than the camera's flash has room for; its table is as it "
             "was. Was the dark taken with the telescope covered? A shorter exposure, or a cooler "
             "sensor, shows fewer.";
    case Orvik_ERROR_NO_DEVICE:
      return "No camera that is plugged in has this serial number or port. List the cameras to see "
             "those that are there.";
    case Orvik_ERROR_SEVERAL_DEVICES:
      return "Several cameras have this serial number. Name the one that is meant by its port.";
    case Orvik_ERROR_TIMEOUT:
      return "The event did not occur before the timeout. Wait again, or longer.";
    case Orvik_ERROR_NOT_SUPPORTED:
      return "This system does not support the call.";
  }
  return "This version of the library has no such code. Program and library may be of different "
         "versions.";
}
