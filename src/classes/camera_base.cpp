// SPDX-License-Identifier: MIT
// Opening, closing, settings and capture of CCameraBase.
#include "orvik/camera_base.h"

#include <chrono>
#include <type_traits>

#include "classes/camera_impl.h"
#include "controls/control_table.h"
#include "cooler/cooled_camera.h"
#include "models/models.h"
#include "orvik/algorithm.h"

namespace orvik {

using classes::onCamera;
using classes::put;
using classes::withCamera;

namespace {

/// Calls `use(camera)` with the camera as the common base class of all models.
template <class Use>
auto useModel(Camera& camera, Use use) {
  CooledCamera* const cooled = camera.cooled();
  return cooled != nullptr ? use(static_cast<ModelCamera<CooledCamera>&>(*cooled))
                           : use(static_cast<ModelCamera<Camera>&>(camera));
}

#define ORVIK_CHECK_BASE(code, Family)                          \
  static_assert(std::is_base_of_v<ModelCamera<Camera>, code> || \
                std::is_base_of_v<ModelCamera<CooledCamera>, code>);
ORVIK_MODELS(ORVIK_CHECK_BASE)
#undef ORVIK_CHECK_BASE

}  // namespace

void classes::shareBalance(const Camera& camera) {
  if (!camera.model().whiteBalanceOnHost) return;
  CAlgorithm::SetRGBWB(camera.state().whiteBalanceRed, camera.state().whiteBalanceBlue);
}

CCameraBase::CCameraBase(std::unique_ptr<Impl> impl) noexcept : impl_(std::move(impl)) {
  CAlgorithm::RGBYUV_Init();
}

CCameraBase::~CCameraBase() {
  const CancellationHeld held;
  impl_.reset();
}

bool CCameraBase::OpenCamera(int ordinal) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) { return camera.open(ordinal); });
}

bool CCameraBase::InitCamera() noexcept {
  return onCamera(impl(), false, [](Camera& camera) {
    const bool done = camera.initialise();
    if (done) classes::shareBalance(camera);
    return done;
  });
}

bool CCameraBase::CloseCamera() noexcept {
  return onCamera(impl(), false, [](Camera& camera) { return camera.close(); });
}

bool CCameraBase::ReConnectCamera() noexcept {
  return onCamera(impl(), false, [](Camera& camera) { return camera.reconnect(); });
}

bool CCameraBase::SetResolution(int width, int height, int bin, IMAGE_TYPE type) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    return isImageType(type) && camera.setResolution(width, height, bin, type);
  });
}

bool CCameraBase::SetStartPos(int x, int y) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) { return camera.setStartPosition(x, y); });
}

bool CCameraBase::SetGain(int gain, bool automatic) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) { return camera.setGain(gain, automatic); });
}

int CCameraBase::GetGain(bool* automatic) noexcept {
  return onCamera(impl(), -1, [&](Camera& camera) {
    put(automatic, camera.state().gainAuto.load());
    return camera.state().gain.load();
  });
}

bool CCameraBase::SetGamma(int value) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    camera.setGamma(value);
    return true;
  });
}

int CCameraBase::GetGamma() noexcept {
  return onCamera(impl(), 0, [](Camera& camera) { return camera.state().gamma.load(); });
}

bool CCameraBase::SetBrightness(int value) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) { return camera.setBrightness(value); });
}

bool CCameraBase::SetHighSpeedMode(bool on) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) { return camera.setHighSpeedMode(on); });
}

bool CCameraBase::SetHardwareBin(bool on) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) { return camera.setHardwareBin(on); });
}

bool CCameraBase::SetFPSPerc(int percent, bool automatic) noexcept {
  return onCamera(impl(), false,
                  [&](Camera& camera) { return camera.setBandwidth(percent, automatic); });
}

bool CCameraBase::GetFPSPerc(int* percent, bool* automatic) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    put(percent, camera.state().bandwidth.load());
    put(automatic, camera.state().bandwidthAuto.load());
    return true;
  });
}

bool CCameraBase::SetOverCLKPerc(int percent) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) { return camera.setOverclock(percent); });
}

void CCameraBase::SetRGBBalance(int red, int blue, bool automatic) noexcept {
  withCamera(impl(), [&](Camera& camera) {
    camera.setWhiteBalance(red, blue, automatic);
    classes::shareBalance(camera);
  });
}

bool CCameraBase::SetExp(std::uint64_t exposureUs, bool automatic) noexcept {
  return onCamera(impl(), false,
                  [&](Camera& camera) { return camera.setExposure(exposureUs, automatic); });
}

bool CCameraBase::GetImage(unsigned char* buffer, int bufferSize, std::uint32_t waitMs) noexcept {
  constexpr std::uint32_t kNoLimit = 0xFFFFFFFF;
  return onCamera(impl(), false, [&](Camera& camera) {
    FrameQueue::Timeout timeout;
    if (waitMs != kNoLimit) timeout = std::chrono::milliseconds(waitMs);
    return !camera.takeImage(classes::memory(buffer, bufferSize), timeout);
  });
}

float CCameraBase::GetSensorTemp() noexcept {
  return onCamera(impl(), 0.0F, [](Camera& camera) { return camera.readTemperature(); });
}

bool CCameraBase::StartCapture(bool snapshot) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) { return camera.startCapture(snapshot); });
}

bool CCameraBase::StopCapture() noexcept {
  return onCamera(impl(), false, [](Camera& camera) { return camera.stopCapture(); });
}

void CCameraBase::Cam_SetResolution() noexcept {
  withCamera(impl(), [](Camera& camera) {
    const auto lock = camera.lockSettings();
    useModel(camera, [](auto& model) { model.writeRegionSize(); });
  });
}

void CCameraBase::SetCMOSClk() noexcept {
  withCamera(impl(), [](Camera& camera) {
    const auto lock = camera.lockSettings();
    useModel(camera, [](auto& model) { model.selectClock(); });
  });
}

bool CCameraBase::SetCMOSClk(int khz) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    const auto lock = camera.lockSettings();
    return khz > 0 && useModel(camera, [&](auto& model) { return model.selectClock(khz); });
  });
}

void CCameraBase::SetOutput16Bits(bool on) noexcept {
  withCamera(impl(), [&](Camera& camera) {
    const auto lock = camera.lockSettings();
    useModel(camera, [&](auto& model) { model.setSampleDepth(on); });
  });
}

void CCameraBase::CalcMaxFPS() noexcept {
  withCamera(impl(), [](Camera& camera) {
    const auto lock = camera.lockSettings();
    useModel(camera, [](auto& model) { model.updateFrameRate(); });
  });
}

}  // namespace orvik
