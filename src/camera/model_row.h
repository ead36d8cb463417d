// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "orvik/orvik.h"

namespace orvik {

/// Limits of a control: what a new camera starts with, and how far it can be set.
struct ControlRange {
  std::int32_t defaultValue = 0;
  std::int32_t max = 0;
  std::int32_t min = 0;
};

/// Which public image types a model offers.
struct ImageTypes {
  bool raw8 = true;
  bool rgb24 = false;
  bool y8 = true;
  bool raw16 = false;
};

/// What a model is: one row of facts, the same for every camera of the model.
struct ModelRow {
  const char* name;                              ///< display name
  const wchar_t* settingsKey;                    ///< of LoadSetting() and SaveSetting()
  std::span<const std::uint16_t> productIds;     ///< all products that are this model
  std::int32_t maxWidth;                         ///< sensor width, pixels
  std::int32_t maxHeight;                        ///< sensor height, pixels
  double pixelSizeUm;                            ///< pixel pitch, micrometres
  bool colour;                                   ///< has a colour filter mosaic
  BayerPattern bayer;                            ///< its order at the sensor's top left
  bool cooled;                                   ///< has a thermo-electric cooler
  bool usb3;                                     ///< built for USB 3
  std::array<std::int8_t, 16> bins;              ///< bin factors; ends before the first below 1
  ImageTypes imageTypes;                         ///< image types offered
  ControlRange gain;                             ///< sensor's gain steps
  ControlRange exposureUs;                       ///< microseconds
  ControlRange gamma;                            ///< 50 is linear
  std::int32_t whiteBalanceRedDefault;           ///< 50 is neutral
  std::int32_t whiteBalanceBlueDefault;          ///< 50 is neutral
  std::int32_t whiteBalanceMax;                  ///< of red and of blue
  std::int32_t whiteBalanceMin;                  ///< of red and of blue
  ControlRange brightness;                       ///< black level, sensor's steps
  std::int32_t bandwidthMin;                     ///< percent
  std::int32_t bandwidthMax;                     ///< percent
  bool bandwidthAutoSupported;                   ///< can find its bandwidth by itself
  bool hardwareBinAtStart;                       ///< bins in the camera unless told otherwise
  std::span<const Orvik_CONTROL_TYPE> controls;  ///< controls offered, in the order of the list
  bool highByteFirst = false;                    ///< 16-bit samples come high byte first
  bool slowAutoControl =
      false;  ///< automatic control takes rounds of 200 ms, up to 600 ms exposure
};

}  // namespace orvik
