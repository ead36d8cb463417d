// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <span>

#include "sim/sensor_format.h"

namespace orvik::sim {

/// Light of three colours: in each channel the electrons per second that it frees in a pixel
/// behind a filter of full transmission.
struct Light {
  float red = 0;
  float green = 0;
  float blue = 0;

  friend constexpr Light operator*(const Light& light, float factor) {
    return {light.red * factor, light.green * factor, light.blue * factor};
  }
  friend constexpr Light operator+(const Light& a, const Light& b) {
    return {a.red + b.red, a.green + b.green, a.blue + b.blue};
  }
};

/// What remains of `light` behind a filter. Silicon sees blue badly: white light gives the three
/// channels signals in the ratio 0.96 : 1 : 0.53.
constexpr float behind(Filter filter, const Light& light) {
  const float red = 0.96F * light.red;
  const float blue = 0.53F * light.blue;
  switch (filter) {
    case Filter::kRed:
      return red;
    case Filter::kGreen:
      return light.green;
    case Filter::kBlue:
      return blue;
    case Filter::kClear:
      break;
  }
  return red + light.green + blue;
}

/// The share of the light that reaches a pixel: 1 in the middle of the sensor, 0.75 in its corners.
constexpr float vignette(const SensorFormat& sensor, int x, int y) {
  const float dx = 2 * static_cast<float>(x) / static_cast<float>(sensor.width) - 1;
  const float dy = 2 * static_cast<float>(y) / static_cast<float>(sensor.height) - 1;
  return 1 - 0.125F * (dx * dx + dy * dy);
}

/// Fills in the flux of an area from `lightAt(x, y)`, the light that falls on a sensor pixel.
template <typename LightAt>
void paint(const SensorFormat& sensor, const Area& area, std::span<float> flux, LightAt lightAt) {
  std::size_t n = 0;
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      flux[n++] = behind(sensor.filterAt(x, y), lightAt(x, y)) * vignette(sensor, x, y);
    }
  }
}

}  // namespace orvik::sim
