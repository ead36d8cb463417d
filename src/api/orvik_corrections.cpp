// SPDX-License-Identifier: MIT
// The service functions for dark frames and hot pixels.
#include <algorithm>
#include <string>

#include "algorithm/dark.h"
#include "algorithm/hot_pixel_table.h"
#include "api/guard.h"
#include "base/saturated.h"
#include "orvik/orvik_service.h"

using orvik::Camera;
using orvik::DarkFrame;
using orvik::FrameFormat;
using orvik::HotPixelTable;
using orvik::OpenCamera;
using orvik::saturatedInt;
using orvik::api::captureCode;
using orvik::api::withCamera;

namespace {

Orvik_BOOL publicBool(bool value) { return value ? Orvik_TRUE : Orvik_FALSE; }

/// Whether frames of the present format can be averaged into a dark frame.
bool showsWholeSensor(const Camera& driver) {
  const FrameFormat format = driver.format();
  return !format.is16Bits && format.columns() == driver.model().maxWidth &&
         format.rows() == driver.model().maxHeight;
}

void measureDark(const DarkFrame& dark, Orvik_DARK_INFO& info) {
  const DarkFrame::Plane plane = dark.plane();
  if (!plane) return;
  const std::uint32_t mean = orvik::darkMean(plane->bytes());
  info.mean = static_cast<int>(mean);
  info.hotPixels = saturatedInt(std::ranges::count_if(
      plane->bytes(), [mean](std::uint8_t sample) { return orvik::isHot(sample, mean); }));
}

int hotPixelCount(const Camera& driver) {
  return saturatedInt(static_cast<std::int64_t>(driver.hotPixels().count()));
}

}  // namespace

Orvik_ERROR_CODE OrvikStartDarkRecording(int index, int* framesWanted) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (!showsWholeSensor(*camera.driver)) return Orvik_ERROR_ROI_SIZE;
    const int frames = camera.driver->startDarkRecording();
    if (framesWanted != nullptr) *framesWanted = frames;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikStopDarkRecording(int index) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [](OpenCamera& camera) {
    camera.driver->dark().stopRecording();
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetDarkRecording(int index, Orvik_DARK_RECORDING* recording) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (recording == nullptr) return Orvik_ERROR_ARGUMENT;
    camera.driver->dark().recordingCount(recording->framesTaken, recording->framesWanted);
    recording->isOver = publicBool(camera.driver->dark().isRecordingOver());
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikSaveDark(int index, const char* path) {
  return withCamera(index, Orvik_ERROR_FILE, [&](OpenCamera& camera) {
    if (path == nullptr) return Orvik_ERROR_ARGUMENT;
    if (!camera.driver->dark().isLoaded()) return Orvik_ERROR_NO_DARK;
    return camera.driver->dark().save(path) ? Orvik_OK : Orvik_ERROR_FILE;
  });
}

Orvik_ERROR_CODE OrvikUseDark(int index, Orvik_BOOL use) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    const bool on = use != Orvik_FALSE;
    if (on && !camera.driver->dark().isLoaded()) return Orvik_ERROR_NO_DARK;
    camera.driver->dark().use(on);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetDarkInfo(int index, Orvik_DARK_INFO* info) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (info == nullptr) return Orvik_ERROR_ARGUMENT;
    const DarkFrame& dark = camera.driver->dark();
    Orvik_DARK_INFO found{};
    found.hasDark = publicBool(dark.isLoaded());
    found.inUse = publicBool(dark.isInUse());
    if (dark.isLoaded()) measureDark(dark, found);
    const std::string path = dark.path();
    if (path.size() < sizeof found.path) std::ranges::copy(path, found.path);
    *info = found;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikDetectHotPixels(int index, int* count) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (!camera.driver->dark().isLoaded() || !camera.driver->deriveHotPixels()) {
      return Orvik_ERROR_NO_DARK;
    }
    if (count != nullptr) *count = hotPixelCount(*camera.driver);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikMarkHotPixel(int index, Orvik_PIXEL pixel, Orvik_BOOL isHot) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    return camera.driver->hotPixels().mark(pixel.x, pixel.y, isHot != Orvik_FALSE)
               ? Orvik_OK
               : Orvik_ERROR_ARGUMENT;
  });
}

Orvik_ERROR_CODE OrvikSaveHotPixels(int index) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [](OpenCamera& camera) {
    Camera& driver = *camera.driver;
    const Orvik_ERROR_CODE busy = captureCode(driver.capture());
    if (busy != Orvik_OK) return busy;
    if (!driver.dark().isLoaded() && !driver.hotPixels().hasTable()) return Orvik_ERROR_NO_TABLE;
    switch (driver.saveHotPixels()) {
      case orvik::HotPixelSaving::kDone:
        return Orvik_OK;
      case orvik::HotPixelSaving::kNoRoom:
        return Orvik_ERROR_TABLE_TOO_LARGE;
      case orvik::HotPixelSaving::kFailed:
        break;
    }
    return Orvik_ERROR_DRIVER_FAILED;
  });
}

Orvik_ERROR_CODE OrvikLoadHotPixels(int index, int* count) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    const Orvik_ERROR_CODE busy = captureCode(camera.driver->capture());
    if (busy != Orvik_OK) return busy;
    if (!camera.driver->loadHotPixels()) return Orvik_ERROR_NO_TABLE;
    if (count != nullptr) *count = hotPixelCount(*camera.driver);
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikUseHotPixels(int index, Orvik_BOOL use) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    return camera.driver->hotPixels().useTable(use != Orvik_FALSE) ? Orvik_OK
                                                                   : Orvik_ERROR_NO_TABLE;
  });
}

Orvik_ERROR_CODE OrvikGetHotPixelInfo(int index, Orvik_HOT_PIXEL_INFO* info) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (info == nullptr) return Orvik_ERROR_ARGUMENT;
    info->hasTable = publicBool(camera.driver->hotPixels().hasTable());
    info->isOn = publicBool(camera.driver->hotPixels().isSwitchedOn());
    info->onSensor = hotPixelCount(*camera.driver);
    info->inRegion =
        saturatedInt(static_cast<std::int64_t>(camera.driver->hotPixels().countInRegion()));
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikGetHotPixels(int index, Orvik_PIXEL* pixels, int capacity, int* count) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (count == nullptr || capacity < 0 || (pixels == nullptr && capacity > 0)) {
      return Orvik_ERROR_ARGUMENT;
    }
    const auto table = camera.driver->hotPixels().table();
    if (!table) return Orvik_ERROR_NO_TABLE;
    const std::vector<std::size_t> sites = orvik::listHotPixels(*table);
    const auto width = static_cast<std::size_t>(camera.driver->model().maxWidth);
    const std::size_t shown = std::min(sites.size(), static_cast<std::size_t>(capacity));
    std::transform(sites.begin(), sites.begin() + static_cast<std::ptrdiff_t>(shown), pixels,
                   [width](std::size_t site) {
                     return Orvik_PIXEL{static_cast<std::int32_t>(site % width),
                                        static_cast<std::int32_t>(site / width)};
                   });
    *count = saturatedInt(static_cast<std::int64_t>(sites.size()));
    return Orvik_OK;
  });
}
