// SPDX-License-Identifier: MIT
// How a camera comes up as it was left: the settings of CCameraBase in the user's store.
#include "camera/settings/camera_settings.h"

#include <algorithm>
#include <exception>
#include <string>
#include <string_view>

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
// saves as well: nothing leaves these two, not even the lack of memory.

void CCameraBase::LoadSetting(const wchar_t* key) noexcept try {
  const auto store = settings::SettingsStore::ofUser(settingsFolder_);
  const auto group = store ? store->load(modelNameOf(key)) : std::nullopt;
  const auto lock = lockSettings();
  if (group) settings::apply(*group, model_, *state_);
  SetHPCStates(state_->hotPixelCorrection);
  SetBMPPath(state_->darkPath.data());
  if (!state_->usingDark) return;
  // A dark frame is as large as the sensor.
  state_->width = model_.maxWidth;
  state_->height = model_.maxHeight;
  state_->bin = 1;
  UsingDark(true);
  LoadBMPFromFile(state_->darkPath.data());
} catch (const std::exception&) {
}

/// Brings what is kept of dark frame and hot pixels up to date. A path that is too long is not
/// kept.
void CCameraBase::noteCorrections() {
  state_->hotPixelCorrection = IsHPCEnable();
  state_->usingDark = IsUsingDark();
  const std::string path = GetBMPPath();
  state_->darkPath.fill('\0');
  if (path.size() < state_->darkPath.size()) std::ranges::copy(path, state_->darkPath.begin());
}

void CCameraBase::SaveSetting(const wchar_t* key) noexcept try {
  const auto store = settings::SettingsStore::ofUser(settingsFolder_);
  if (!store) return;
  settings::Group group;
  {
    const auto lock = lockSettings();
    noteCorrections();
    group = settings::groupOf(*state_);
  }
  store->save(modelNameOf(key), group);
} catch (const std::exception&) {
}

}  // namespace orvik
