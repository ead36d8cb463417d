// SPDX-License-Identifier: MIT
#include "orvik/algorithm.h"

#include <chrono>
#include <ctime>

#include "algorithm/binning.h"
#include "algorithm/dark.h"
#include "algorithm/demosaic.h"
#include "algorithm/flip.h"
#include "algorithm/gamma.h"
#include "algorithm/rgb_convert.h"
#include "algorithm/time_mark.h"
#include "algorithm/white_balance.h"

namespace orvik {

void CAlgorithm::RGBYUV_Init() noexcept { setWhiteBalance(WhiteBalance{}); }

void CAlgorithm::SetRGBWB(int gainR, int gainB) noexcept {
  setWhiteBalance({.red = gainR, .blue = gainB});
}

void CAlgorithm::Bayer2RGB24_RG(const uint8_t* raw, uint8_t* rgb, int width, int height) noexcept {
  demosaic(raw, rgb, BAYER_RG, width, height, whiteBalance());
}

void CAlgorithm::Bayer2RGB24_BG(const uint8_t* raw, uint8_t* rgb, int width, int height) noexcept {
  demosaic(raw, rgb, BAYER_BG, width, height, whiteBalance());
}

void CAlgorithm::Bayer2RGB24_GR(const uint8_t* raw, uint8_t* rgb, int width, int height) noexcept {
  demosaic(raw, rgb, BAYER_GR, width, height, whiteBalance());
}

void CAlgorithm::Bayer2RGB24_GB(const uint8_t* raw, uint8_t* rgb, int width, int height) noexcept {
  demosaic(raw, rgb, BAYER_GB, width, height, whiteBalance());
}

void CAlgorithm::RGB2Y8(const uint8_t* rgb, uint8_t* y8, int width, int height) noexcept {
  luminance(rgb, y8, width, height);
}

void CAlgorithm::RGB2R8(const uint8_t* rgb, uint8_t* out, int width, int height) noexcept {
  firstChannel(rgb, out, width, height);
}

void CAlgorithm::RGB2YUV2(const uint8_t* rgb, uint8_t* yuv, int width, int height,
                          bool bottomUp) noexcept {
  yuv422(rgb, yuv, width, height, bottomUp);
}

void CAlgorithm::Gamma(uint8_t* img, const uint8_t* table, int width, int height) noexcept {
  applyTable(img, table, width, height);
}

void CAlgorithm::Gamma(uint16_t* img, const uint16_t* table, int width, int height) noexcept {
  applyTable(img, table, width, height);
}

void CAlgorithm::MonoBin(uint8_t* buf8, uint16_t* buf16, int width, int height, int bin,
                         bool is16) noexcept {
  if (is16) {
    binMono(buf16, width, height, bin);
  } else {
    binMono(buf8, width, height, bin);
  }
}

void CAlgorithm::ColorRAWBin(uint8_t* buf8, uint16_t* buf16, int width, int height, int bin,
                             bool is16) noexcept {
  if (is16) {
    binMosaic(buf16, width, height, bin);
  } else {
    binMosaic(buf8, width, height, bin);
  }
}

void CAlgorithm::SoftMisc(void* buf, int width, int height, int bin, bool is16, bool flipVertical,
                          bool flipHorizontal) noexcept {
  const int rowLength = width * bin;
  const int rows = height * bin;
  if (is16) {
    flip(static_cast<uint16_t*>(buf), rowLength, rows, flipVertical, flipHorizontal);
  } else {
    flip(static_cast<uint8_t*>(buf), rowLength, rows, flipVertical, flipHorizontal);
  }
}

void CAlgorithm::SubtractDark(uint8_t* image, int width, int height, int offset,
                              const uint16_t* dark, bool binned, int columnStart) noexcept {
  if (binned) {
    subtractBinnedDark(image, width, height, offset, dark, columnStart);
  } else {
    subtractDark(image, width, height, offset, dark);
  }
}

void CAlgorithm::AddTimeMark(uint8_t* image, int width, int height, int type) noexcept {
  if (type != 0 && type != 1) return;
  using std::chrono::system_clock;
  const auto now = std::chrono::floor<std::chrono::milliseconds>(system_clock::now());
  const auto seconds = std::chrono::floor<std::chrono::seconds>(now);
  const std::time_t time = system_clock::to_time_t(seconds);
  TimeOfDay mark{.local = {}, .milliseconds = static_cast<int>((now - seconds).count())};
  if (localtime_r(&time, &mark.local) == nullptr) return;
  drawTimeMark(image, width, height, type == 1 ? 3 : 1, mark);
}

}  // namespace orvik
