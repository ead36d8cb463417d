// SPDX-License-Identifier: MIT
// Loads and saves the settings of a Camera in the store of the user.
#include <algorithm>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "camera/camera.h"
#include "settings/settings_store.h"
#include "settings/state_settings.h"

namespace orvik {

// A missing or broken store must not prevent a camera from opening or closing, and the destructor
// saves as well: no exception leaves these functions, not even std::bad_alloc.

void Camera::loadSettings(std::string_view name) noexcept try {
  const auto store = settings::SettingsStore::ofUser(settingsFolder_);
  const auto group = store ? store->load(std::string(name)) : std::nullopt;
  const auto lock = lockSettings();
  if (group) {
    noteCorrections();
    settings::apply(*group, model_, *state_);
  }
  hotPixels_.use(state_->hotPixelCorrection);
  dark_.setPath(state_->darkPath.data());
  if (!state_->usingDark) dark_.use(false);
  if (state_->usingDark) {
    // A dark frame is as large as the sensor.
    state_->width = model_.maxWidth;
    state_->height = model_.maxHeight;
    state_->bin = 1;
    dark_.use(true);
    if (isOpen()) dark_.load(state_->darkPath.data());
  }
  if (kept_) kept_ = presentSettings();
} catch (const std::exception&) {
}

/// Loads the dark frame that the settings have switched on. The file is as large as the sensor; a
/// camera that is opened only to be described does not load it.
void Camera::loadKeptDark() {
  const std::string path = dark_.path();
  if (dark_.isSwitchedOn() && !dark_.isLoaded() && !path.empty()) dark_.load(path);
}

/// Brings the saved settings of dark frame and hot pixels up to date. A dark frame without a file,
/// or with a path that is too long to be saved, cannot be loaded next time, so it is saved as
/// switched off.
void Camera::noteCorrections() {
  state_->hotPixelCorrection = hotPixels_.isSwitchedOn();
  const std::string path = dark_.path();
  const bool fits = path.size() < state_->darkPath.size();
  state_->darkPath.fill('\0');
  if (fits) std::ranges::copy(path, state_->darkPath.begin());
  state_->usingDark = dark_.isSwitchedOn() && fits && !path.empty();
}

settings::Group Camera::presentSettings() {
  const auto lock = lockSettings();
  noteCorrections();
  return settings::groupOf(*state_);
}

void Camera::settleSettings(const settings::Group& before) {
  if (!kept_ || *kept_ == before) kept_ = presentSettings();
}

void Camera::loadOwnSettings() noexcept try {
  const std::string serial = serialNumber();
  if (serial.empty()) return;
  const std::string model(model_.settingsName);
  settingsNames_ = {model, model + " " + serial};
  loadSettings(settingsNames_.back());
} catch (const std::exception&) {
}

bool Camera::saveSettings(std::string_view name) noexcept try {
  const std::string text(name);
  return saveGroup(std::span(&text, 1), presentSettings());
} catch (const std::exception&) {
  return false;
}

bool Camera::keepSettings() noexcept try {
  return saveGroup(settingsNames_, presentSettings());
} catch (const std::exception&) {
  return false;
}

bool Camera::forgetSettings() noexcept try {
  const auto store = settings::SettingsStore::ofUser(settingsFolder_);
  if (!store || !store->forget(settingsNames_)) return false;
  const auto present = presentSettings();
  const auto lock = lockSettings();
  kept_ = present;
  return true;
} catch (const std::exception&) {
  return false;
}

bool Camera::saveGroup(std::span<const std::string> names, const settings::Group& group) noexcept
    try {
  const auto store = settings::SettingsStore::ofUser(settingsFolder_);
  if (!store || !store->save(names, group)) return false;
  const auto lock = lockSettings();
  kept_ = group;
  return true;
} catch (const std::exception&) {
  return false;
}

std::optional<settings::Group> Camera::settingsToSave() noexcept try {
  if (!isOpen()) return std::nullopt;
  settings::Group present = presentSettings();
  // A camera that was not initialised has nothing to save.
  const bool hasChanged = kept_ && *kept_ != present;
  if (!isVideoRunning() && !capture_.lastWasSnapshot() && !hasChanged) return std::nullopt;
  return present;
} catch (const std::exception&) {
  return std::nullopt;
}

}  // namespace orvik
