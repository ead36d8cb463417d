// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "sim/sensor_format.h"

namespace orvik::sim {

/// What a pixel and its converter do to light.
struct PixelPhysics {
  double fullWell = 0;     ///< electrons at which a pixel is full
  double fullScale = 0;    ///< electrons that reach the converter's top at gain 0
  double readNoise = 0;    ///< electrons, at any gain
  double darkCurrent = 0;  ///< electrons per second at 20 degrees Celsius
};

/// One kind of camera, as its maker's data sheet would list it.
struct Model {
  const char* code = nullptr;  ///< for example "T15C"
  const char* displayName = nullptr;
  std::uint16_t productId = 0;
  std::uint8_t bulkEndpoint = 0;  ///< address with the direction bit
  SensorFormat sensor;
  PixelPhysics pixel;
  bool cooled = false;  ///< has a cooler, and a thermistor in the thermometer chip's place
};

/// All models that can be plugged.
std::span<const Model> models();

/// @return null when there is no model of this code.
const Model* findModel(std::string_view code);

}  // namespace orvik::sim
