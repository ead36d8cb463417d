// SPDX-License-Identifier: MIT
#include "orvik/algorithm.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <limits>

#include "algorithm/binning.h"
#include "algorithm/dark.h"
#include "algorithm/demosaic.h"
#include "algorithm/flip.h"
#include "algorithm/gamma.h"
#include "algorithm/rgb_convert.h"
#include "algorithm/time_mark.h"
#include "algorithm/white_balance.h"

namespace orvik {
namespace {

/// The balance of the process: one word, so that no thread sees a partial change.
std::atomic<WhiteBalance> balance{WhiteBalance{}};
static_assert(std::atomic<WhiteBalance>::is_always_lock_free);

bool isFrame(const void* samples, int width, int height) {
  return samples != nullptr && width > 0 && height > 0;
}

/// The same for a frame that is `bin` times as large as its binned form.
bool isBinnedFrame(const void* samples, int width, int height, int bin) {
  constexpr std::int64_t kLargest = std::numeric_limits<int>::max();
  return isFrame(samples, width, height) && bin > 0 && std::int64_t{width} * bin <= kLargest &&
         std::int64_t{height} * bin <= kLargest;
}

void toColour(const std::uint8_t* raw, std::uint8_t* rgb, BayerPattern pattern, int width,
              int height) {
  if (rgb != nullptr && isFrame(raw, width, height)) {
    demosaic(raw, rgb, pattern, width, height, balance.load());
  }
}

}  // namespace

void CAlgorithm::RGBYUV_Init() noexcept { balance = WhiteBalance{}; }

void CAlgorithm::SetRGBWB(int gainR, int gainB) noexcept {
  balance = WhiteBalance{.red = gainR, .blue = gainB};
}

void CAlgorithm::Bayer2RGB24_RG(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                                int height) noexcept {
  toColour(raw, rgb, BAYER_RG, width, height);
}

void CAlgorithm::Bayer2RGB24_BG(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                                int height) noexcept {
  toColour(raw, rgb, BAYER_BG, width, height);
}

void CAlgorithm::Bayer2RGB24_GR(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                                int height) noexcept {
  toColour(raw, rgb, BAYER_GR, width, height);
}

void CAlgorithm::Bayer2RGB24_GB(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                                int height) noexcept {
  toColour(raw, rgb, BAYER_GB, width, height);
}

void CAlgorithm::RGB2Y8(const std::uint8_t* rgb, std::uint8_t* y8, int width, int height) noexcept {
  if (y8 != nullptr && isFrame(rgb, width, height)) luminance(rgb, y8, width, height);
}

void CAlgorithm::RGB2R8(const std::uint8_t* rgb, std::uint8_t* out, int width,
                        int height) noexcept {
  if (out != nullptr && isFrame(rgb, width, height)) firstChannel(rgb, out, width, height);
}

void CAlgorithm::RGB2YUV2(const std::uint8_t* rgb, std::uint8_t* yuv, int width, int height,
                          bool bottomUp) noexcept {
  if (yuv != nullptr && isFrame(rgb, width, height)) yuv422(rgb, yuv, width, height, bottomUp);
}

void CAlgorithm::Gamma(std::uint8_t* img, const std::uint8_t* table, int width,
                       int height) noexcept {
  if (table != nullptr && isFrame(img, width, height)) applyTable(img, table, width, height);
}

void CAlgorithm::Gamma(std::uint16_t* img, const std::uint16_t* table, int width,
                       int height) noexcept {
  if (table != nullptr && isFrame(img, width, height)) applyTable(img, table, width, height);
}

void CAlgorithm::MonoBin(std::uint8_t* buf8, std::uint16_t* buf16, int width, int height, int bin,
                         bool is16) noexcept {
  const void* const frame = is16 ? static_cast<void*>(buf16) : buf8;
  if (!isBinnedFrame(frame, width, height, bin)) return;
  if (is16) {
    binMono(buf16, width, height, bin);
  } else {
    binMono(buf8, width, height, bin);
  }
}

void CAlgorithm::ColorRAWBin(std::uint8_t* buf8, std::uint16_t* buf16, int width, int height,
                             int bin, bool is16) noexcept {
  const void* const frame = is16 ? static_cast<void*>(buf16) : buf8;
  if (!isBinnedFrame(frame, width, height, bin)) return;
  if (is16) {
    binMosaic(buf16, width, height, bin);
  } else {
    binMosaic(buf8, width, height, bin);
  }
}

void CAlgorithm::SoftMisc(void* buf, int width, int height, int bin, bool is16, bool flipVertical,
                          bool flipHorizontal) noexcept {
  if (!isBinnedFrame(buf, width, height, bin)) return;
  const int rowLength = width * bin;
  const int rows = height * bin;
  if (is16) {
    flip(static_cast<std::uint16_t*>(buf), rowLength, rows, flipVertical, flipHorizontal);
  } else {
    flip(static_cast<std::uint8_t*>(buf), rowLength, rows, flipVertical, flipHorizontal);
  }
}

void CAlgorithm::SubtractDark(std::uint8_t* image, int width, int height, int offset,
                              const std::uint16_t* dark, bool binned, int columnStart) noexcept {
  if (dark == nullptr || !isFrame(image, width, height)) return;
  if (!binned) {
    subtractDark(image, width, height, offset, dark);
  } else if (columnStart >= 0) {
    subtractBinnedDark(image, width, height, offset, dark, columnStart);
  }
}

void CAlgorithm::AddTimeMark(std::uint8_t* image, int width, int height, int type) noexcept {
  if (!isFrame(image, width, height) || (type != 0 && type != 1)) return;
  using std::chrono::system_clock;
  const auto now = std::chrono::floor<std::chrono::milliseconds>(system_clock::now());
  const auto seconds = std::chrono::floor<std::chrono::seconds>(now);
  const std::time_t time = system_clock::to_time_t(seconds);
  TimeOfDay mark{.local = {}, .milliseconds = static_cast<int>((now - seconds).count())};
  if (localtime_r(&time, &mark.local) == nullptr) return;
  drawTimeMark(image, width, height, type == 1 ? 3 : 1, mark);
}

}  // namespace orvik
