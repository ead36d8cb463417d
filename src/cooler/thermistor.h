// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace orvik::cooler {

/// The range of the thermistor table, degrees Celsius.
inline constexpr int kLowestCelsius = -20;
inline constexpr int kHighestCelsius = 113;

/// The value of the converter in the two bytes that the camera sends: they hold 12 bits,
/// left-aligned in 16, low byte first; the lower 8 of the 12 are the value.
constexpr std::uint8_t converterValue(std::uint8_t byte0, std::uint8_t byte1) {
  return static_cast<std::uint8_t>(byte1 << 4 | byte0 >> 4);
}

/// The temperature of the thermistor, the lower resistor of a voltage divider that an 8-bit
/// converter reads.
/// @param value of the converter; 256 would be the supply voltage
/// @param referenceKiloOhms the upper resistor of the divider
/// @return degrees Celsius, or nothing outside the range of the thermistor.
std::optional<float> thermistorCelsius(std::uint8_t value, int referenceKiloOhms);

/// Whether a value outside the range lies beyond its cold end. A value beyond the warm end can also
/// mean that the thermistor does not answer.
bool isColderThanRange(std::uint8_t value, int referenceKiloOhms);

/// The resistance in kilohms at each whole degree from kLowestCelsius to kHighestCelsius.
std::span<const double> thermistorKiloOhms();

}  // namespace orvik::cooler
