// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace orvik::cooler {

/// Degrees Celsius between which the thermistor is known.
inline constexpr int kLowestCelsius = -20;
inline constexpr int kHighestCelsius = 113;

/// The converter's value out of the camera's two bytes: 12 bits left-aligned in 16, low byte first,
/// of which the lower 8 carry the value.
constexpr std::uint8_t converterValue(std::uint8_t byte0, std::uint8_t byte1) {
  return static_cast<std::uint8_t>(byte1 << 4 | byte0 >> 4);
}

/// The temperature of the thermistor at the foot of a divider that an 8-bit converter reads.
/// @param value converter's value; 256 would be the whole supply
/// @param referenceKiloOhms the divider's upper resistor
/// @return degrees Celsius, or none outside the thermistor's range.
std::optional<float> thermistorCelsius(std::uint8_t value, int referenceKiloOhms);

/// Whether a value that stands for no temperature lies beyond the cold end of the range. Beyond the
/// warm end lies a thermistor that does not answer as well, so nothing follows from that.
bool isColderThanRange(std::uint8_t value, int referenceKiloOhms);

/// Kilohms at each whole degree from kLowestCelsius to kHighestCelsius.
std::span<const double> thermistorKiloOhms();

}  // namespace orvik::cooler
