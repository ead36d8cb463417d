// SPDX-License-Identifier: MIT
// The numbered controls of CCameraBase, its single values, its guide port and the user's
// settings.
#include <chrono>
#include <string>
#include <string_view>

#include "camera/camera.h"
#include "classes/camera_impl.h"
#include "controls/control_table.h"
#include "orvik/camera_base.h"

namespace orvik {

using classes::onCamera;
using classes::put;
using classes::withCamera;

namespace {

/// The name of a group of settings: the part after the last backslash of a key. Keys are ASCII.
std::string groupNameOf(std::wstring_view key) {
  key.remove_prefix(key.rfind(L'\\') + 1);  // without one, npos + 1 is 0
  std::string name;
  for (const wchar_t letter : key) name.push_back(static_cast<char>(letter));
  return name;
}

/// An invalid direction stays invalid.
std::size_t lineOf(GuideD direction) { return static_cast<std::uint32_t>(direction); }

}  // namespace

int CCameraBase::GetNumOfControls() const noexcept {
  return onCamera(impl(), 0, [](const Camera& camera) {
    return static_cast<int>(camera.model().controls.size());
  });
}

bool CCameraBase::GetControlCaps(int index, Orvik_CONTROL_CAPS* caps) const noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    const ControlList& offered = camera.model().controls;
    if (caps == nullptr || index < 0 || index >= static_cast<int>(offered.size())) return false;
    return describeControl(camera.model(), offered[static_cast<std::size_t>(index)], *caps);
  });
}

Orvik_ERROR_CODE CCameraBase::SetControlValue(int type, std::int32_t value,
                                              bool automatic) noexcept {
  return onCamera(impl(), Orvik_ERROR_DRIVER_FAILED, [&](Camera& camera) {
    // Here CCameraCool controls the cooler; the numbers control it in the flat interface only.
    if (type == Orvik_CTL_TARGET_TEMP) return Orvik_OK;
    if (type == Orvik_CTL_COOLER_ON) return Orvik_ERROR_CONTROL;
    const Orvik_ERROR_CODE result = camera.setControl(type, value, automatic);
    if (type == Orvik_CTL_WB_R || type == Orvik_CTL_WB_B) classes::shareBalance(camera);
    return result;
  });
}

bool CCameraBase::GetControlValue(int type, std::int32_t* value, Orvik_BOOL* automatic) noexcept {
  put(automatic, Orvik_FALSE);
  return onCamera(impl(), false, [&](Camera& camera) {
    const auto read = value != nullptr ? camera.readControl(type) : std::nullopt;
    if (!read) return false;
    *value = read->value;
    put(automatic, read->automatic ? Orvik_TRUE : Orvik_FALSE);
    return true;
  });
}

bool CCameraBase::isAvailable(Control_TYPE type) const noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    const ModelRow& model = camera.model();
    switch (type) {
      case CONTROL_COOLER:
      case CONTROL_COOL_POWER:
      case CONTROL_TARGET_TEMP:
        return model.cooled;
      default:
        // Up to the automatic limits the numbers are those of the controls.
        return type >= CONTROL_GAIN && type <= CONTROL_AUTO_LIMITS &&
               model.controls.has(static_cast<Orvik_CONTROL_TYPE>(type));
    }
  });
}

bool CCameraBase::isImgTypeSupported(int type) const noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    return camera.model().imageTypes.offers(static_cast<IMG_TYPE>(type));
  });
}

void CCameraBase::GetCameraProperty(Orvik_CAMERA_INFO* info) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    if (info != nullptr) camera.describe(*info);
  });
}

int CCameraBase::GetMaxWidth() const noexcept {
  return onCamera(impl(), 0, [](const Camera& camera) { return camera.model().maxWidth; });
}

int CCameraBase::GetMaxHeight() const noexcept {
  return onCamera(impl(), 0, [](const Camera& camera) { return camera.model().maxHeight; });
}

double CCameraBase::getPixelSize() const noexcept {
  return onCamera(impl(), 0.0, [](const Camera& camera) { return camera.model().pixelSizeUm; });
}

BayerPattern CCameraBase::getColorBayer() const noexcept {
  return onCamera(impl(), BAYER_RG, [](const Camera& camera) { return camera.model().bayer; });
}

int CCameraBase::getMAXExposure() const noexcept {
  return onCamera(impl(), 0, [](const Camera& camera) { return camera.model().exposureUs.max; });
}

int CCameraBase::getFPSMin() const noexcept {
  return onCamera(impl(), 0, [](const Camera& camera) { return camera.model().bandwidthMin; });
}

int CCameraBase::getFPSMax() const noexcept {
  return onCamera(impl(), 0, [](const Camera& camera) { return camera.model().bandwidthMax; });
}

int CCameraBase::GetBrightness() const noexcept {
  return onCamera(impl(), 0, [](const Camera& camera) { return camera.state().brightness.load(); });
}

int CCameraBase::GetCMOSClk() const noexcept {
  return onCamera(impl(), 0, [](const Camera& camera) { return camera.state().clockKhz.load(); });
}

int CCameraBase::GetOverCLKPerc() const noexcept {
  return onCamera(impl(), 0, [](const Camera& camera) { return camera.state().overClock.load(); });
}

bool CCameraBase::IsOutput16Bits() const noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.state().output16Bits.load(); });
}

bool CCameraBase::IsHardwareBin() const noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.state().hardwareBin.load(); });
}

bool CCameraBase::IsHighSpeedMode() const noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.state().highSpeedMode.load(); });
}

std::uint8_t CCameraBase::GetFWVer() const noexcept {
  return onCamera(impl(), std::uint8_t{0},
                  [](const Camera& camera) { return camera.state().firmwareVersion.load(); });
}

std::uint32_t CCameraBase::GetExp(bool* automatic) const noexcept {
  return onCamera(impl(), std::uint32_t{0}, [&](const Camera& camera) {
    put(automatic, camera.state().exposureAuto.load());
    return static_cast<std::uint32_t>(camera.state().exposureUs);
  });
}

void CCameraBase::GetRGBBalance(int* red, int* blue, bool* automatic) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    put(red, camera.state().whiteBalanceRed.load());
    put(blue, camera.state().whiteBalanceBlue.load());
    put(automatic, camera.state().whiteBalanceAuto.load());
  });
}

void CCameraBase::SetMisc(bool flipHorizontal, bool flipVertical) noexcept {
  withCamera(impl(), [&](Camera& camera) { camera.setFlip(flipHorizontal, flipVertical); });
}

void CCameraBase::GetMisc(bool* flipHorizontal, bool* flipVertical) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    put(flipHorizontal, camera.state().flipHorizontal.load());
    put(flipVertical, camera.state().flipVertical.load());
  });
}

bool CCameraBase::GetMaxFPS(float* frameRate, float* dataRate) const noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    put(frameRate, camera.state().maxFrameRate.load());
    put(dataRate, camera.state().dataRate.load());
    return true;
  });
}

float CCameraBase::GetTemp() noexcept {
  return onCamera(impl(), 0.0F, [](Camera& camera) { return camera.temperature(); });
}

void CCameraBase::SetRawOutput(bool on) noexcept {
  withCamera(impl(), [&](Camera& camera) { camera.state().rawOutput = on; });
}

bool CCameraBase::IsRawOutput() const noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.state().rawOutput.load(); });
}

bool CCameraBase::IsTimeMark() const noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.state().timeMark.load(); });
}

void CCameraBase::SetTimeMark(bool on) noexcept {
  withCamera(impl(), [&](Camera& camera) { camera.state().timeMark = on; });
}

bool CCameraBase::pulseGuideOn(GuideD direction) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    camera.guideLines().switchOn(lineOf(direction));
    return true;
  });
}

bool CCameraBase::pulseGuideOff(GuideD direction) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    camera.guideLines().switchOff(lineOf(direction));
    return true;
  });
}

bool CCameraBase::pulseGuide(GuideD direction, int ms) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    camera.guideLines().pulse(lineOf(direction), camera.clock(), std::chrono::milliseconds(ms));
    return true;
  });
}

void CCameraBase::LoadSetting(const wchar_t* key) noexcept {
  withCamera(impl(), [&](Camera& camera) {
    if (key != nullptr) camera.loadSettings(groupNameOf(key));
  });
}

void CCameraBase::SaveSetting(const wchar_t* key) noexcept {
  withCamera(impl(), [&](Camera& camera) {
    if (key != nullptr) camera.saveSettings(groupNameOf(key));
  });
}

}  // namespace orvik
