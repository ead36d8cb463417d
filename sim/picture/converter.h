// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "sim/frame_settings.h"

namespace orvik::sim {

/// The sensor's converter on one row: adds the noise to the mean signal and gives samples of
/// `converterBits` bits, 10 or 12.
/// @param mean, deviation as in Signal
/// @param noise as in NoiseTable
void convertRow(std::span<const std::int16_t> mean, std::span<const std::int16_t> deviation,
                std::span<const std::int16_t> noise, int converterBits,
                std::span<std::int16_t> samples);

/// The FPGA on the rows of a frame: brings the samples to 12 bits, multiplies them, and puts them
/// out, in one byte the upper 8 bits, in two bytes the 12 bits at the upper end.
class RowOutput {
 public:
  explicit RowOutput(const FrameSettings& settings);

  /// @param row in the frame; decides which gains hold
  /// @param samples a row as the sensor sends it; overwritten
  void put(int row, std::span<std::int16_t> samples, std::span<std::uint8_t> bytes) const;

 private:
  int shift_;
  bool wide_;
  bool highByteFirst_;
  std::vector<std::uint16_t> evenRowGains_;  ///< of each column, in 1/4096
  std::vector<std::uint16_t> oddRowGains_;
};

}  // namespace orvik::sim
