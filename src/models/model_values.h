// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "models/bandwidth_law.h"
#include "seam/identity.h"
#include "state/model_row.h"

/// The parts of the rows of models: sensor, shared ranges and modes, and the facts of the model
/// itself. modelRow() makes the row.
namespace orvik {

struct Sensor {
  std::int32_t width;                       ///< pixels
  std::int32_t height;                      ///< pixels
  double pixelSizeUm;                       ///< pixel pitch, micrometres
  std::optional<BayerPattern> mosaic = {};  ///< empty for monochrome
};

/// Ranges and modes that several models share.
struct ModelValues {
  std::int8_t maxBin;  ///< largest bin factor; all smaller ones are offered
  ControlRange gain;
  ControlRange exposureUs;
  std::optional<ControlRange> brightness;
  bool usb3 = true;
  bool raw16 = true;
  bool hasThermometer = true;
  bool hasHardwareBin = false;
  bool hardwareBinAtStart = false;
  bool hasHighSpeedMode = false;
  bool hasBandwidth = true;
  bool highByteFirst = false;
};

/// The default white balance.
struct WhiteBalanceDefaults {
  std::int32_t red = 52;
  std::int32_t blue = 95;
};

/// The facts of one model.
struct ModelFacts {
  const char* name;
  const char* settingsName;
  std::array<Product, 3> products;
  Sensor sensor;
  const ModelValues& values;
  bool cooled = false;
  bool probed = false;
  bool overClocks = false;
  bool slowAutoControl = false;
  WhiteBalanceDefaults whiteBalance = {};
  bool whiteBalanceOnHost = false;
};

constexpr ControlList controlsOf(const ModelFacts& model) {
  const ModelValues& values = model.values;
  ControlList list;
  const auto addIf = [&list](bool offered, auto... types) {
    if (offered) (list.add(types), ...);
  };
  addIf(true, Orvik_CTL_GAIN, Orvik_CTL_EXPOSURE, Orvik_CTL_GAMMA);
  addIf(model.sensor.mosaic.has_value(), Orvik_CTL_WB_R, Orvik_CTL_WB_B);
  addIf(values.brightness.has_value(), Orvik_CTL_BRIGHTNESS);
  addIf(values.hasBandwidth, Orvik_CTL_BANDWIDTH);
  addIf(values.hasThermometer, Orvik_CTL_TEMPERATURE);
  addIf(true, Orvik_CTL_FLIP);
  addIf(model.overClocks, Orvik_CTL_OVERCLK);
  addIf(true, Orvik_CTL_AUTO_EXP_MAX_GAIN, Orvik_CTL_AUTO_EXP_MAX_EXP,
        Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS);
  addIf(values.hasHardwareBin, Orvik_CTL_HARDWARE_BIN);
  addIf(values.hasHighSpeedMode, Orvik_CTL_HIGH_SPEED_MODE);
  addIf(model.cooled, Orvik_CTL_COOL_POWER_PERC, Orvik_CTL_TARGET_TEMP, Orvik_CTL_COOLER_ON);
  return list;
}

constexpr std::array<std::int8_t, 16> binsUpTo(std::int8_t maxBin) {
  std::array<std::int8_t, 16> bins{};
  for (std::int8_t bin = 1; bin <= maxBin; ++bin) bins[static_cast<std::size_t>(bin - 1)] = bin;
  return bins;
}

constexpr ModelRow modelRow(const ModelFacts& model) {
  const Sensor& sensor = model.sensor;
  const ModelValues& values = model.values;
  const bool colour = sensor.mosaic.has_value();
  return {
      .name = model.name,
      .settingsName = model.settingsName,
      .products = model.products,
      .probed = model.probed,
      .maxWidth = sensor.width,
      .maxHeight = sensor.height,
      .pixelSizeUm = sensor.pixelSizeUm,
      .colour = colour,
      .bayer = sensor.mosaic.value_or(BAYER_RG),
      .cooled = model.cooled,
      .usb3 = values.usb3,
      .bins = binsUpTo(values.maxBin),
      .imageTypes = {.raw8 = true, .rgb24 = colour, .y8 = true, .raw16 = values.raw16},
      .gain = values.gain,
      .exposureUs = values.exposureUs,
      .gamma = {.defaultValue = 50, .max = 100, .min = 1},
      .whiteBalanceRedDefault = model.whiteBalance.red,
      .whiteBalanceBlueDefault = model.whiteBalance.blue,
      .whiteBalanceMax = 99,
      .whiteBalanceMin = 1,
      .brightness = values.brightness.value_or(ControlRange{}),
      .bandwidthMin = kMinBandwidth,
      .bandwidthMax = kMaxBandwidth,
      .bandwidthAutoSupported = values.usb3,
      .hardwareBinAtStart = values.hardwareBinAtStart,
      .controls = controlsOf(model),
      .highByteFirst = values.highByteFirst,
      .slowAutoControl = model.slowAutoControl,
      .whiteBalanceOnHost = model.whiteBalanceOnHost,
  };
}

}  // namespace orvik
