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

/// The electronics between light and bridge.
enum class BoardKind : std::uint8_t {
  kMarkedFrames,    ///< an FPGA times the sensor and marks each frame; USB 3
  kRegisterSensor,  ///< a sensor of 16-bit registers that times itself; USB 2
  kCommandSensor,   ///< a sensor behind a processor that takes commands; USB 2
};

/// What the board of a camera can do beyond what all of its kind can.
struct BoardFeatures {
  bool averages2x2 = false;     ///< marked frames: the sensor averages 2 x 2 pixels of one colour
  bool fastConversion = false;  ///< marked frames: conversion with 10 bits, at the fast clock
  bool manyTrims = false;       ///< marked frames: the sensor needs its long list of trims
  bool wideOutput = false;      ///< register sensor: 16-bit output, and a second clock
  bool overClock = false;       ///< register sensor: a register for the clock's percentage
  bool colourGains = false;     ///< register sensor: multiplies red and blue
};

/// One kind of camera, as its maker's data sheet would list it.
struct Model {
  const char* code = nullptr;  ///< for example "T15C"; products of one model each have their own
  const char* displayName = nullptr;
  std::uint16_t productId = 0;
  BoardKind board = BoardKind::kMarkedFrames;
  BoardFeatures features;
  SensorFormat sensor;
  PixelPhysics pixel;
  bool cooled = false;  ///< has a cooler, and a thermistor in the thermometer chip's place
  bool thermometer = true;

  [[nodiscard]] constexpr bool superSpeed() const { return board == BoardKind::kMarkedFrames; }
  /// Address of the bulk endpoint, with the direction bit.
  [[nodiscard]] constexpr std::uint8_t bulkEndpoint() const { return superSpeed() ? 0x81 : 0x82; }
};

/// All models that can be plugged.
std::span<const Model> models();

/// @return null when there is no model of this code.
const Model* findModel(std::string_view code);

}  // namespace orvik::sim
