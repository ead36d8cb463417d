// SPDX-License-Identifier: MIT
#include "sim/picture/converter.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "sim/picture/noise_table.h"
#include "sim/picture/signal.h"

// These loops run over every sample of every frame. They are written in 16-bit arithmetic, whose
// products keep their upper half only: that is one instruction for eight samples on any x86-64.

namespace orvik::sim {
namespace {

constexpr int kTop = 4095;

static_assert(NoiseTable::kUnit * Signal::kDeviationUnits == Signal::kMeanUnits << 16,
              "the upper half of deviation x noise must come out in the units of the mean");

std::vector<std::uint16_t> columnGains(int columns, int even, int odd) {
  std::vector<std::uint16_t> gains(static_cast<std::size_t>(columns));
  for (std::size_t x = 0; x < gains.size(); ++x) {
    gains[x] = static_cast<std::uint16_t>((x % 2 == 0 ? even : odd) * 32);
  }
  return gains;
}

}  // namespace

void convertRow(std::span<const std::int16_t> mean, std::span<const std::int16_t> deviation,
                std::span<const std::int16_t> noise, int converterBits,
                std::span<std::int16_t> samples) {
  constexpr int kHalf = Signal::kMeanUnits / 2;
  constexpr int kShift = std::countr_zero(static_cast<unsigned>(Signal::kMeanUnits));
  const int dropped = 12 - converterBits;
  for (std::size_t x = 0; x < samples.size(); ++x) {
    const auto deflection = static_cast<std::int16_t>((int{deviation[x]} * int{noise[x]}) >> 16);
    const auto signal = static_cast<std::int16_t>(mean[x] + deflection + kHalf);
    const auto step = static_cast<std::int16_t>(signal >> kShift);
    const auto clamped = std::clamp<std::int16_t>(step, 0, kTop);
    samples[x] = static_cast<std::int16_t>(clamped >> dropped);
  }
}

RowOutput::RowOutput(const FrameSettings& settings)
    : shift_(12 - settings.linkBits),
      wide_(settings.wideOutput),
      highByteFirst_(settings.highByteFirst),
      evenRowGains_(columnGains(settings.columns, settings.cellGains[0], settings.cellGains[1])),
      oddRowGains_(columnGains(settings.columns, settings.cellGains[2], settings.cellGains[3])) {}

void RowOutput::put(int row, std::span<std::int16_t> samples, std::span<std::uint8_t> bytes) const {
  const std::vector<std::uint16_t>& gains = (row & 1) != 0 ? oddRowGains_ : evenRowGains_;
  for (std::size_t x = 0; x < samples.size(); ++x) {
    const auto aligned = static_cast<std::int16_t>(samples[x] << shift_);
    const auto taken = std::min<std::int16_t>(aligned, kTop);
    const auto scaled = static_cast<std::uint16_t>(taken << 4);
    const auto product = static_cast<std::uint16_t>((unsigned{scaled} * unsigned{gains[x]}) >> 16U);
    samples[x] = std::min<std::int16_t>(static_cast<std::int16_t>(product), kTop);
  }
  if (wide_) {
    static_assert(std::endian::native == std::endian::little, "memory holds the lowest byte first");
    for (std::int16_t& sample : samples) sample = static_cast<std::int16_t>(sample << 4);
    if (highByteFirst_) {
      for (std::int16_t& sample : samples) {
        const auto bits = static_cast<std::uint16_t>(sample);
        sample = static_cast<std::int16_t>(unsigned{bits} << 8U | unsigned{bits} >> 8U);
      }
    }
    std::memcpy(bytes.data(), samples.data(), bytes.size());
  } else {
    std::uint8_t* const out = bytes.data();
    for (std::size_t x = 0; x < samples.size(); ++x) {
      out[x] = static_cast<std::uint8_t>(samples[x] >> 4);
    }
  }
}

}  // namespace orvik::sim
