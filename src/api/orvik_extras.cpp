// SPDX-License-Identifier: MIT
// The flat functions for guide port, identity and settings of a camera.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>

#include "api/guard.h"
#include "firmware/camera_firmware.h"
#include "orvik/orvik_service.h"
#include "settings/settings_store.h"
#include "usb/current_host.h"

using orvik::OpenCamera;
using orvik::api::captureCode;
using orvik::api::guarded;
using orvik::api::withCamera;
using orvik::settings::SettingsStore;

namespace {

/// Converts through an unsigned type, so that an invalid direction stays invalid.
std::size_t lineOf(GuideD direction) { return static_cast<std::uint32_t>(direction); }

}  // namespace

Orvik_ERROR_CODE OrvikPulseGuideOn(int index, GuideD direction) {
  return withCamera(index, Orvik_OK, [&](OpenCamera& camera) {
    camera.driver->guideLines().switchOn(lineOf(direction));
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikPulseGuideOff(int index, GuideD direction) {
  return withCamera(index, Orvik_OK, [&](OpenCamera& camera) {
    camera.driver->guideLines().switchOff(lineOf(direction));
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikPulseGuide(int index, GuideD direction, int milliseconds) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    const std::size_t line = lineOf(direction);
    if (line >= orvik::GuideLines::kCount || milliseconds < 0 ||
        milliseconds > ORVIK_MAX_PULSE_MS) {
      return Orvik_ERROR_ARGUMENT;
    }
    const std::chrono::milliseconds length(milliseconds);
    return camera.driver->guideLines().pulse(line, camera.driver->clock(), length)
               ? Orvik_OK
               : Orvik_ERROR_DRIVER_FAILED;
  });
}

Orvik_ERROR_CODE OrvikGetID(int index, Orvik_ID* id) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (id == nullptr) return Orvik_ERROR_DRIVER_FAILED;
    const Orvik_ERROR_CODE busy = captureCode(camera.driver->capture());
    if (busy != Orvik_OK) return busy;
    return orvik::firmware::readCameraId(*camera.driver, *id) ? Orvik_OK
                                                              : Orvik_ERROR_DRIVER_FAILED;
  });
}

Orvik_ERROR_CODE OrvikSetID(int index, Orvik_ID id) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    const Orvik_ERROR_CODE busy = captureCode(camera.driver->capture());
    if (busy != Orvik_OK) return busy;
    return orvik::firmware::writeCameraId(*camera.driver, id) ? Orvik_OK
                                                              : Orvik_ERROR_DRIVER_FAILED;
  });
}

Orvik_ERROR_CODE OrvikSaveSettings(int index) {
  return withCamera(index, Orvik_ERROR_FILE, [](OpenCamera& camera) {
    return camera.driver->keepSettings() ? Orvik_OK : Orvik_ERROR_FILE;
  });
}

Orvik_ERROR_CODE OrvikResetSettings(int index) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [](OpenCamera& camera) {
    const Orvik_ERROR_CODE busy = captureCode(camera.driver->capture());
    if (busy != Orvik_OK) return busy;
    return camera.driver->resetSettings() ? Orvik_OK : Orvik_ERROR_DRIVER_FAILED;
  });
}

Orvik_ERROR_CODE OrvikForgetSettings(int index) {
  return withCamera(index, Orvik_ERROR_FILE, [](OpenCamera& camera) {
    return camera.driver->forgetSettings() ? Orvik_OK : Orvik_ERROR_FILE;
  });
}

Orvik_ERROR_CODE OrvikGetSettingsPlace(Orvik_SETTINGS_PLACE* place) {
  if (place == nullptr) return Orvik_ERROR_ARGUMENT;
  return guarded(Orvik_ERROR_FILE, [&] {
    const auto store = SettingsStore::ofUser(orvik::currentHost()->settingsFolder());
    const std::string file = store ? store->file().string() : "";
    place->obstacle = store ? store->obstacle() : ENOENT;
    std::ranges::fill(place->file, '\0');
    if (file.size() < sizeof place->file) std::ranges::copy(file, place->file);
    return Orvik_OK;
  });
}
