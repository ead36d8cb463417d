// SPDX-License-Identifier: MIT
// How a camera comes up as it was left: the settings of CCameraBase in the user's store.
#include "camera/settings/camera_settings.h"

#include <algorithm>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "camera/camera_base.h"
#include "camera/settings/settings_store.h"

namespace orvik {
namespace {

/// The model's name in the store: what follows the last backslash of a key. Keys are ASCII.
std::string modelNameOf(std::wstring_view key) {
  key.remove_prefix(key.rfind(L'\\') + 1);  // without one, npos + 1 is 0
  std::string name;
  for (const wchar_t letter : key) name.push_back(static_cast<char>(letter));
  return name;
}

}  // namespace

// A missing or broken store must not keep a camera from opening or closing, and the destructor
// saves as well: nothing leaves these functions, not even the lack of memory.

void CCameraBase::LoadSetting(const wchar_t* key) noexcept try {
  const auto store = settings::SettingsStore::ofUser(settingsFolder_);
  const auto group = store ? store->load(modelNameOf(key)) : std::nullopt;
  const auto lock = lockSettings();
  if (group) settings::apply(*group, model_, *state_);
  SetHPCStates(state_->hotPixelCorrection);
  SetBMPPath(state_->darkPath.data());
  if (state_->usingDark) {
    // A dark frame is as large as the sensor.
    state_->width = model_.maxWidth;
    state_->height = model_.maxHeight;
    state_->bin = 1;
    UsingDark(true);
    if (isOpen()) LoadBMPFromFile(state_->darkPath.data());
  }
  if (kept_) kept_ = presentSettings();
} catch (const std::exception&) {
}

/// Loads the dark that the settings have switched on. A camera that is only asked what it is never
/// needs that file, which is as large as the sensor.
void CCameraBase::loadKeptDark() {
  const std::string path = GetBMPPath();
  if (IsUsingDark() && !dark_.isLoaded() && !path.empty()) LoadBMPFromFile(path.c_str());
}

/// Brings what is kept of dark frame and hot pixels up to date. A dark that no file holds, or whose
/// path is too long to be kept, will not be there next time: nor is its being switched on kept.
void CCameraBase::noteCorrections() {
  state_->hotPixelCorrection = IsHPCEnable();
  const std::string path = GetBMPPath();
  const bool fits = path.size() < state_->darkPath.size();
  state_->darkPath.fill('\0');
  if (fits) std::ranges::copy(path, state_->darkPath.begin());
  state_->usingDark = IsUsingDark() && fits && !path.empty();
}

settings::Group CCameraBase::presentSettings() {
  const auto lock = lockSettings();
  noteCorrections();
  return settings::groupOf(*state_);
}

void CCameraBase::settleSettings(const settings::Group& before) {
  if (!kept_ || *kept_ == before) kept_ = presentSettings();
}

void CCameraBase::SaveSetting(const wchar_t* key) noexcept { saveUnder(key); }

bool CCameraBase::keepSettings() noexcept { return saveUnder(model_.settingsKey); }

bool CCameraBase::saveUnder(const wchar_t* key) noexcept try {
  const auto store = settings::SettingsStore::ofUser(settingsFolder_);
  if (!store) return false;
  auto group = presentSettings();
  if (!store->save(modelNameOf(key), group)) return false;
  const auto lock = lockSettings();
  kept_ = std::move(group);
  return true;
} catch (const std::exception&) {
  return false;
}

void CCameraBase::saveAtClose() noexcept try {
  // A camera that was not set up has nothing of its own to keep.
  if (capture_.lastWasSnapshot() || (kept_ && *kept_ != presentSettings())) keepSettings();
} catch (const std::exception&) {
}

}  // namespace orvik
