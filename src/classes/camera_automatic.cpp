// SPDX-License-Identifier: MIT
// Automatic exposure, gain and white balance of CCameraBase as single steps, and the white balance
// of the models that do it on the host.
#include <array>
#include <optional>

#include "algorithm/brightness.h"
#include "algorithm/colour_balance.h"
#include "algorithm/demosaic.h"
#include "classes/camera_impl.h"
#include "controls/host_balance.h"
#include "orvik/camera_base.h"
#include "orvik/cameras.h"

namespace orvik {

using classes::put;
using classes::withCamera;

namespace {

/// Three results of a block, for red, green and blue.
struct Wanted3 {
  int* red;
  int* green;
  int* blue;

  [[nodiscard]] bool areAll() const {
    return red != nullptr && green != nullptr && blue != nullptr;
  }
  [[nodiscard]] std::array<int*, 3> pointers() const { return {red, green, blue}; }
};

/// Does one step of white balance from the colour of a frame of the current format, with the
/// settings locked.
void follow(Camera& camera, const std::optional<ColourValues>& colour) {
  if (colour) camera.regulator().followColour(*colour);
  classes::shareBalance(camera);
}

/// Implements AutoWhiBal() of both models.
void balanceByRaw(Camera& camera, const std::uint8_t* raw) {
  const auto lock = camera.lockSettings();
  if (raw == nullptr || !camera.state().whiteBalanceAuto) return;
  const FrameFormat format = camera.state().frameFormat();
  follow(camera, camera.measureColour(camera.regulator().rawFrame(raw, format), format.hostBin()));
}

/// Implements AutoWB() of both models.
void balanceByImage(Camera& camera, const std::uint8_t* rgb) {
  const auto lock = camera.lockSettings();
  if (rgb == nullptr) return;
  const FrameFormat format = camera.state().frameFormat();
  follow(camera, imageColour(rgb, format.columns(), format.rows(), format.hostBin()));
}

void storeMosaicBlock(const Camera& camera, const RawFrame& frame, const FrameBlock& block,
                      const Wanted3& deviations, const Wanted3& means) {
  if (frame.samples == nullptr || !deviations.areAll() || !means.areAll()) return;
  storeBlock(mosaicBlock(frame, camera.model().bayer, block, camera.state().softwareBin()),
             deviations.pointers(), means.pointers());
}

/// Implements Get_variance_ave() of both models.
void storeImageBlock(const Camera& camera, const std::uint8_t* rgb, const FrameBlock& block,
                     int rowLength, int imageHeight, const Wanted3& deviations,
                     const Wanted3& means) {
  if (rgb == nullptr || !deviations.areAll() || !means.areAll()) return;
  storeBlock(imageBlock(rgb, rowLength, imageHeight, block, camera.state().softwareBin()),
             deviations.pointers(), means.pointers());
}

}  // namespace

void CCameraBase::SetAutoPara(int maxGain, int maxExposure, int targetBrightness) noexcept {
  withCamera(impl(), [&](Camera& camera) {
    camera.state().autoMaxGain = maxGain;
    camera.state().autoMaxExposure = maxExposure;
    camera.state().autoTargetBrightness = targetBrightness;
  });
}

void CCameraBase::GetAutoPara(int* maxGain, int* maxExposure,
                              int* targetBrightness) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    put(maxGain, camera.state().autoMaxGain.load());
    put(maxExposure, camera.state().autoMaxExposure.load());
    put(targetBrightness, camera.state().autoTargetBrightness.load());
  });
}

void CCameraBase::AutoExpGain(const std::uint8_t* frame) noexcept {
  withCamera(impl(), [&](Camera& camera) {
    const auto lock = camera.lockSettings();
    if (frame == nullptr) return;
    const FrameFormat format = camera.state().frameFormat();
    ImageRegulator& regulator = camera.regulator();
    const auto brightness = measureBrightness(regulator.rawFrame(frame, format), format.hostBin());
    if (brightness) regulator.followBrightness(*brightness);
  });
}

void CCameraBase::AutoWB_RAW(const std::uint8_t* frame) noexcept {
  withCamera(impl(), [&](Camera& camera) {
    const auto lock = camera.lockSettings();
    if (frame == nullptr) return;
    const FrameFormat format = camera.state().frameFormat();
    follow(camera, mosaicColour(camera.regulator().rawFrame(frame, format), camera.model().bayer,
                                format.hostBin()));
  });
}

void CCameraBase::Get_variance_ave_RAW(const std::uint8_t* frame, int blockColumn, int blockRow,
                                       int blockWidth, int blockHeight, int rowLength,
                                       int frameHeight, int* redDeviation, int* greenDeviation,
                                       int* blueDeviation, int* redMean, int* greenMean,
                                       int* blueMean) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    storeMosaicBlock(camera, {.samples = frame, .columns = rowLength, .rows = frameHeight},
                     {blockColumn, blockRow, blockWidth, blockHeight},
                     {redDeviation, greenDeviation, blueDeviation}, {redMean, greenMean, blueMean});
  });
}

void CCameraBase::Bayer2RGB24(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                              int height) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    if (raw == nullptr || rgb == nullptr) return;
    const CameraState& now = camera.state();
    demosaic(raw, rgb, flippedPattern(camera.model().bayer, now.flipHorizontal, now.flipVertical),
             width, height, hostBalance(camera.model(), now));
  });
}

void CCameraT01C::AutoWhiBal(const std::uint8_t* raw) noexcept {
  withCamera(impl(), [&](Camera& camera) { balanceByRaw(camera, raw); });
}

void CCameraT01C::AutoWB(const std::uint8_t* rgb) noexcept {
  withCamera(impl(), [&](Camera& camera) { balanceByImage(camera, rgb); });
}

void CCameraT01C::Get_variance_ave(const std::uint8_t* rgb, int blockColumn, int blockRow,
                                   int blockWidth, int blockHeight, int rowLength, int imageHeight,
                                   int* redDeviation, int* greenDeviation, int* blueDeviation,
                                   int* redMean, int* greenMean, int* blueMean) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    storeImageBlock(camera, rgb, {blockColumn, blockRow, blockWidth, blockHeight}, rowLength,
                    imageHeight, {redDeviation, greenDeviation, blueDeviation},
                    {redMean, greenMean, blueMean});
  });
}

void CCameraT03C::AutoWhiBal(const std::uint8_t* raw) noexcept {
  withCamera(impl(), [&](Camera& camera) { balanceByRaw(camera, raw); });
}

void CCameraT03C::AutoWB(const std::uint8_t* rgb) noexcept {
  withCamera(impl(), [&](Camera& camera) { balanceByImage(camera, rgb); });
}

void CCameraT03C::Get_variance_ave(const std::uint8_t* rgb, int blockColumn, int blockRow,
                                   int blockWidth, int blockHeight, int rowLength, int imageHeight,
                                   int* redDeviation, int* greenDeviation, int* blueDeviation,
                                   int* redMean, int* greenMean, int* blueMean) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    storeImageBlock(camera, rgb, {blockColumn, blockRow, blockWidth, blockHeight}, rowLength,
                    imageHeight, {redDeviation, greenDeviation, blueDeviation},
                    {redMean, greenMean, blueMean});
  });
}

}  // namespace orvik
