// SPDX-License-Identifier: MIT
// Dark frames and hot pixels of CCameraBase, by their names in the class interface.
#include <algorithm>
#include <span>
#include <utility>

#include "algorithm/denoise.h"
#include "camera/camera_base.h"
#include "camera/saturated.h"

namespace orvik {
namespace {

std::size_t areaOf(int width, int height) {
  return width > 0 && height > 0
             ? static_cast<std::size_t>(width) * static_cast<std::size_t>(height)
             : 0;
}

/// Calls `use(frame)` with the buffer as a frame of samples, if it holds one of that size.
template <class Use>
void useSamples(const PageBuffer& buffer, int width, int height, int step, bool is16Bits, Use use) {
  const std::size_t samples = areaOf(width, height);
  if (samples == 0 || samples > buffer.size() / (is16Bits ? 2 : 1)) return;
  if (is16Bits) {
    use(SampleFrame<std::uint16_t>{buffer.words(), width, height, step});
  } else {
    use(SampleFrame<std::uint8_t>{buffer.data(), width, height, step});
  }
}

}  // namespace

FrameRegion CCameraBase::currentRegion() const {
  return state_->frameFormat().regionAt(state_->startX, state_->startY, model_.colour);
}

int CCameraBase::LoadBMPFromFile(const char* path) { return static_cast<int>(dark_.load(path)); }

int CCameraBase::SaveBMPToFile(const char* path) { return dark_.save(path) ? 1 : 0; }

int CCameraBase::CreateBMP(int width, int height, const std::uint8_t* pixels, const char* path) {
  const std::size_t count = areaOf(width, height);
  return count != 0 && writeDarkFile(path, width, height, {pixels, count}) ? 1 : 0;
}

void CCameraBase::AdjustDarkBuff() {
  const auto lock = lockSettings();
  dark_.follow(currentRegion());
}

int CCameraBase::GettingDark(bool start, std::uint64_t) {
  const int frames = darkFrameCount(state_->exposureUs);
  if (start) {
    dark_.startRecording(frames);
  } else {
    dark_.stopRecording();
  }
  return frames;
}

HotPixelSaving CCameraBase::saveHotPixelTable() {
  const auto permit = beginMemoryWork();
  if (!permit) return HotPixelSaving::kFailed;
  AutoGetHPC();
  SpiFlash port = flash();
  return hotPixels_.save(port);
}

bool CCameraBase::SaveHPCTable() { return saveHotPixelTable() == HotPixelSaving::kDone; }

bool CCameraBase::LoadHPCTable() {
  const auto permit = beginMemoryWork();
  if (!permit) return false;
  SpiFlash port = flash();
  return hotPixels_.load(port);
}

void CCameraBase::AdjustHPCTable() {
  const auto lock = lockSettings();
  hotPixels_.follow(currentRegion());
}

std::vector<std::uint8_t> CCameraBase::Compress(const std::uint8_t* packed, int bytes,
                                                int* length) {
  StoredHotPixels stored =
      compressHotPixels({packed, bytes > 0 ? static_cast<std::size_t>(bytes) : 0});
  *length = static_cast<int>(stored.length);
  return std::move(stored.bytes);
}

std::optional<HotPixelTable> CCameraBase::Uncompress(const std::uint8_t* stored, int length) const {
  return uncompressHotPixels({stored, length > 0 ? static_cast<std::size_t>(length) : 0},
                             hotPixelTableBytes(model_.maxWidth, model_.maxHeight));
}

bool CCameraBase::AutoGetHPC() {
  const DarkFrame::Plane dark = dark_.plane();
  if (!dark) return false;
  hotPixels_.derive(dark->bytes());
  return true;
}

bool CCameraBase::ManualHPC(int x, int y, bool hot) { return hotPixels_.mark(x, y, hot); }

bool CCameraBase::ChangeHPCStatus(HPCStatus status) {
  const bool on = status != HPC_OFF;
  if (on && !hotPixels_.hasTable()) return false;
  SetHPCStates(on);
  return true;
}

void CCameraBase::GetHPSum(int* onSensor, int* inRegion) const {
  *onSensor = saturatedInt(static_cast<std::int64_t>(hotPixels_.count()));
  *inRegion = saturatedInt(static_cast<std::int64_t>(hotPixels_.countInRegion()));
}

void CCameraBase::HandleHotPixels(void* frame, int width, int height, bool is16Bits) const {
  const FrameRegion region = currentRegion();
  if (region.columns != width || region.rows != height) return;
  if (is16Bits) {
    hotPixels_.correct(std::span(static_cast<std::uint16_t*>(frame), region.samples()), region);
  } else {
    hotPixels_.correct(std::span(static_cast<std::uint8_t*>(frame), region.samples()), region);
  }
}

void CCameraBase::DeNoise(int x, int y, int width, int height, std::uint32_t* count) {
  delivery_.useFrame([&](const PageBuffer& buffer) {
    useSamples(buffer, width, height, colourStep(), state_->output16Bits, [&](const auto& frame) {
      if (mendIfHot(frame, x, y)) ++*count;
    });
  });
}

std::uint16_t CCameraBase::PixelNet(int x, int y, int width, int height, char step) {
  std::uint16_t rise = 0;
  delivery_.useFrame([&](const PageBuffer& buffer) {
    useSamples(buffer, width, height, std::max(int{step}, 1), state_->output16Bits,
               [&](const auto& frame) { rise = riseAboveRow(frame, x, y); });
  });
  return rise;
}

}  // namespace orvik
