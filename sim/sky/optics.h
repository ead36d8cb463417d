// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

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

/// The vignette of a row of a sensor, for many pixels.
class Vignette {
 public:
  explicit Vignette(const SensorFormat& sensor)
      : height_(sensor.height), columns_(static_cast<std::size_t>(sensor.width)) {
    for (std::size_t x = 0; x < columns_.size(); ++x) {
      columns_[x] = loss(static_cast<float>(x), sensor.width);
    }
  }

  /// The share of the light that reaches each pixel of an area's row is
  /// `rowShare(y) - columnLosses(area)[x - area.x]`.
  [[nodiscard]] float rowShare(int y) const { return 1 - loss(static_cast<float>(y), height_); }
  [[nodiscard]] std::span<const float> columnLosses(const Area& area) const {
    return std::span(columns_).subspan(static_cast<std::size_t>(area.x),
                                       static_cast<std::size_t>(area.width));
  }

 private:
  static float loss(float place, int size) {
    const float distance = 2 * place / static_cast<float>(size) - 1;
    return 0.125F * distance * distance;
  }

  int height_;
  std::vector<float> columns_;
};

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

/// Fills in the flux of an area on which the same light falls everywhere.
inline void paintEvenly(const SensorFormat& sensor, const Area& area, std::span<float> flux,
                        const Light& light) {
  const auto width = static_cast<std::size_t>(area.width);
  std::vector<float> squares(width);  // of the distances from the middle column
  std::array<std::vector<float>, 2> arriving = {std::vector<float>(width),
                                                std::vector<float>(width)};
  for (std::size_t n = 0; n < width; ++n) {
    const int x = area.x + static_cast<int>(n);
    const float dx = 2 * static_cast<float>(x) / static_cast<float>(sensor.width) - 1;
    squares[n] = dx * dx;
    for (int row = 0; row < 2; ++row) {
      arriving.at(static_cast<std::size_t>(row))[n] = behind(sensor.filterAt(x, row), light);
    }
  }
  for (int y = area.y; y < area.bottom(); ++y) {
    const std::span<float> row = flux.subspan(static_cast<std::size_t>(y - area.y) * width, width);
    const std::vector<float>& here = arriving.at(static_cast<std::size_t>(y) % 2);
    const float dy = 2 * static_cast<float>(y) / static_cast<float>(sensor.height) - 1;
    const float square = dy * dy;
    for (std::size_t n = 0; n < width; ++n) row[n] = here[n] * (1 - 0.125F * (squares[n] + square));
  }
}

/// The light of the pixels of an area, row by row, from `lightAt(x, y)`.
template <typename LightAt>
std::vector<Light> lightsOf(const Area& area, LightAt lightAt) {
  std::vector<Light> lights;
  lights.reserve(area.pixels());
  for (int y = area.y; y < area.bottom(); ++y) {
    for (int x = area.x; x < area.right(); ++x) lights.push_back(lightAt(x, y));
  }
  return lights;
}

}  // namespace orvik::sim
