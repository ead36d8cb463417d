// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

#include "sim/frame_settings.h"

namespace orvik::sim {

/// The sensor's converter on one row: adds the noise to the mean signal and gives samples of
/// `converterBits` bits, 10 or 12.
/// @param mean, deviation in 1/16 of a 12-bit step, as in Signal
/// @param noise in 1/4096 standard deviation
void convertRow(std::span<const std::uint16_t> mean, std::span<const std::uint16_t> deviation,
                std::span<const std::int16_t> noise, int converterBits,
                std::span<std::uint16_t> samples);

/// The FPGA on one row of a frame: brings the samples to 12 bits, multiplies them, and puts them
/// out, in one byte the upper 8 bits, in two bytes the 12 bits at the upper end.
/// @param row in the frame; decides which gains hold
void putOutRow(std::span<const std::uint16_t> samples, const FrameSettings& settings, int row,
               std::span<std::uint8_t> bytes);

}  // namespace orvik::sim
