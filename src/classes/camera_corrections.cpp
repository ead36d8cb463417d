// SPDX-License-Identifier: MIT
// Dark frames and hot pixels of CCameraBase.
#include <algorithm>
#include <span>
#include <utility>

#include "algorithm/denoise.h"
#include "algorithm/hot_pixel_table.h"
#include "base/saturated.h"
#include "classes/camera_impl.h"
#include "delivery/dark_file.h"
#include "delivery/dark_recording.h"
#include "orvik/camera_base.h"

namespace orvik {

using classes::memory;
using classes::onCamera;
using classes::put;
using classes::withCamera;

namespace {

std::size_t areaOf(int width, int height) {
  return width > 0 && height > 0
             ? static_cast<std::size_t>(width) * static_cast<std::size_t>(height)
             : 0;
}

/// Calls `use(frame)` with the last delivered frame, if it has the given size.
/// @param step distance of pixels of one colour
template <class Use>
void useFrame(Camera& camera, int width, int height, int step, Use use) {
  camera.delivery().useFrame([&](const PageBuffer& buffer) {
    const bool is16Bits = camera.state().output16Bits;
    const std::size_t samples = areaOf(width, height);
    if (samples == 0 || samples > buffer.size() / (is16Bits ? 2 : 1)) return;
    if (is16Bits) {
      use(SampleFrame<std::uint16_t>{buffer.words(), width, height, step});
    } else {
      use(SampleFrame<std::uint8_t>{buffer.data(), width, height, step});
    }
  });
}

}  // namespace

int CCameraBase::LoadBMPFromFile(const char* path) noexcept {
  return onCamera(impl(), static_cast<int>(DarkFileResult::kNotUsable), [&](Camera& camera) {
    return static_cast<int>(path != nullptr ? camera.dark().load(path)
                                            : DarkFileResult::kCannotOpen);
  });
}

int CCameraBase::SaveBMPToFile(const char* path) noexcept {
  return onCamera(impl(), 0, [&](Camera& camera) {
    return path != nullptr && camera.dark().save(path) ? 1 : 0;
  });
}

int CCameraBase::CreateBMP(int width, int height, const std::uint8_t* pixels,
                           const char* path) noexcept {
  return guarded(0, [&] {
    const std::span picture = memory(pixels, areaOf(width, height));
    return !picture.empty() && path != nullptr && writeDarkFile(path, width, height, picture) ? 1
                                                                                              : 0;
  });
}

int CCameraBase::GettingDark(bool start, std::uint64_t) noexcept {
  return onCamera(impl(), 0, [&](Camera& camera) {
    if (start) return camera.startDarkRecording();
    camera.dark().stopRecording();
    return darkFrameCount(camera.state().exposureUs);
  });
}

bool CCameraBase::IsGetDarkOver() const noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.dark().isRecordingOver(); });
}

void CCameraBase::GetDarkCount(int* taken, int* wanted) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    int framesTaken = 0;
    int framesWanted = 0;
    camera.dark().recordingCount(framesTaken, framesWanted);
    put(taken, framesTaken);
    put(wanted, framesWanted);
  });
}

void CCameraBase::UsingDark(bool use) noexcept {
  withCamera(impl(), [&](Camera& camera) { camera.dark().use(use); });
}

bool CCameraBase::IsUsingDark() const noexcept {
  return onCamera(impl(), false, [](const Camera& camera) { return camera.dark().isSwitchedOn(); });
}

std::string CCameraBase::GetBMPPath() const noexcept {
  return onCamera(impl(), std::string(), [](const Camera& camera) { return camera.dark().path(); });
}

void CCameraBase::AdjustDarkBuff() noexcept {
  withCamera(impl(), [](Camera& camera) {
    const auto lock = camera.lockSettings();
    camera.dark().follow(camera.region());
  });
}

bool CCameraBase::SaveHPCTable() noexcept {
  return onCamera(impl(), false,
                  [](Camera& camera) { return camera.saveHotPixels() == HotPixelSaving::kDone; });
}

bool CCameraBase::LoadHPCTable() noexcept {
  return onCamera(impl(), false, [](Camera& camera) { return camera.loadHotPixels(); });
}

bool CCameraBase::AutoGetHPC() noexcept {
  return onCamera(impl(), false, [](Camera& camera) { return camera.deriveHotPixels(); });
}

bool CCameraBase::ManualHPC(int x, int y, bool hot) noexcept {
  return onCamera(impl(), false,
                  [&](Camera& camera) { return camera.hotPixels().mark(x, y, hot); });
}

bool CCameraBase::ChangeHPCStatus(HPCStatus status) noexcept {
  return onCamera(impl(), false,
                  [&](Camera& camera) { return camera.hotPixels().useTable(status != HPC_OFF); });
}

void CCameraBase::SetHPCStates(bool on) noexcept {
  withCamera(impl(), [&](Camera& camera) { camera.hotPixels().use(on); });
}

bool CCameraBase::IsHPCEnable() const noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.hotPixels().isSwitchedOn(); });
}

void CCameraBase::GetHPSum(int* onSensor, int* inRegion) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    put(onSensor, saturatedInt(static_cast<std::int64_t>(camera.hotPixels().count())));
    put(inRegion, saturatedInt(static_cast<std::int64_t>(camera.hotPixels().countInRegion())));
  });
}

void CCameraBase::AdjustHPCTable() noexcept {
  withCamera(impl(), [](Camera& camera) {
    const auto lock = camera.lockSettings();
    camera.hotPixels().follow(camera.region());
  });
}

void CCameraBase::HandleHotPixels(void* frame, int width, int height,
                                  bool is16Bits) const noexcept {
  withCamera(impl(), [&](const Camera& camera) {
    const FrameRegion region = camera.region();
    if (frame == nullptr || region.columns != width || region.rows != height) return;
    if (is16Bits) {
      camera.hotPixels().correct(memory(static_cast<std::uint16_t*>(frame), region.samples()),
                                 region);
    } else {
      camera.hotPixels().correct(memory(static_cast<std::uint8_t*>(frame), region.samples()),
                                 region);
    }
  });
}

void CCameraBase::DeNoise(int x, int y, int width, int height, std::uint32_t* count) noexcept {
  withCamera(impl(), [&](Camera& camera) {
    useFrame(camera, width, height, camera.model().colour ? 2 : 1, [&](const auto& frame) {
      if (mendIfHot(frame, x, y) && count != nullptr) ++*count;
    });
  });
}

std::uint16_t CCameraBase::PixelNet(int x, int y, int width, int height, char step) noexcept {
  return onCamera(impl(), std::uint16_t{0}, [&](Camera& camera) {
    std::uint16_t rise = 0;
    useFrame(camera, width, height, std::max(int{step}, 1),
             [&](const auto& frame) { rise = riseAboveRow(frame, x, y); });
    return rise;
  });
}

std::vector<std::uint8_t> CCameraBase::Compress(const std::uint8_t* packed, int bytes,
                                                int* length) noexcept {
  put(length, 0);
  return guarded(std::vector<std::uint8_t>(), [&] {
    StoredHotPixels stored = compressHotPixels(memory(packed, bytes));
    put(length, stored.length);
    return std::move(stored.bytes);
  });
}

std::optional<std::vector<std::uint8_t>> CCameraBase::Uncompress(const std::uint8_t* stored,
                                                                 int length) const noexcept {
  using Table = std::optional<std::vector<std::uint8_t>>;
  return onCamera(impl(), Table(), [&](const Camera& camera) {
    if (stored == nullptr) return Table();
    const ModelRow& model = camera.model();
    return Table(uncompressHotPixels(memory(stored, length),
                                     hotPixelTableBytes(model.maxWidth, model.maxHeight)));
  });
}

}  // namespace orvik
