// SPDX-License-Identifier: MIT
#include "sim/picture/converter.h"

#include <algorithm>
#include <cstring>

namespace orvik::sim {
namespace {

constexpr int kTop = 4095;

/// A sample of the mosaic's even or odd column, multiplied by its gain in 1/128.
int amplified(int sample, int gain) { return std::min(sample * gain >> 7, kTop); }

/// Puts each sample of a row through `put(column, value)`.
template <typename Put>
void forEachAmplified(std::span<const std::uint16_t> samples, int shift, int evenGain, int oddGain,
                      Put put) {
  const std::uint16_t* const data = samples.data();
  const std::size_t pairs = samples.size() / 2;
  for (std::size_t n = 0; n < pairs; ++n) {
    put(2 * n, amplified(std::min(data[2 * n] << shift, kTop), evenGain));
    put(2 * n + 1, amplified(std::min(data[2 * n + 1] << shift, kTop), oddGain));
  }
  if (samples.size() % 2 != 0) {
    put(2 * pairs, amplified(std::min(data[2 * pairs] << shift, kTop), evenGain));
  }
}

}  // namespace

void convertRow(std::span<const std::uint16_t> mean, std::span<const std::uint16_t> deviation,
                std::span<const std::int16_t> noise, int converterBits,
                std::span<std::uint16_t> samples) {
  const int dropped = 12 - converterBits;
  for (std::size_t x = 0; x < samples.size(); ++x) {
    // A deviation is at most 32767, so the product fits in 32 bits.
    const int signal = mean[x] + (deviation[x] * noise[x] >> 12);
    const int step = std::clamp((signal + 8) >> 4, 0, kTop);
    samples[x] = static_cast<std::uint16_t>(step >> dropped);
  }
}

void putOutRow(std::span<const std::uint16_t> samples, const FrameSettings& settings, int row,
               std::span<std::uint8_t> bytes) {
  const std::size_t cell = (row & 1) != 0 ? 2 : 0;
  const int evenGain = settings.cellGains.at(cell);
  const int oddGain = settings.cellGains.at(cell + 1);
  const int shift = 12 - settings.linkBits;
  std::uint8_t* const out = bytes.data();
  if (settings.wideOutput) {
    forEachAmplified(samples, shift, evenGain, oddGain, [out](std::size_t x, int value) {
      out[2 * x] = static_cast<std::uint8_t>(value << 4);
      out[2 * x + 1] = static_cast<std::uint8_t>(value >> 4);
    });
  } else {
    forEachAmplified(samples, shift, evenGain, oddGain, [out](std::size_t x, int value) {
      out[x] = static_cast<std::uint8_t>(value >> 4);
    });
  }
}

}  // namespace orvik::sim
