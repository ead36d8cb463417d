// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

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

  [[nodiscard]] constexpr bool offers(IMG_TYPE type) const {
    switch (type) {
      case Orvik_IMG_RAW8:
        return raw8;
      case Orvik_IMG_RGB24:
        return rgb24;
      case Orvik_IMG_RAW16:
        return raw16;
      case Orvik_IMG_Y8:
        return y8;
      case Orvik_IMG_END:
        break;
    }
    return false;
  }
};

/// A product that is this model.
struct Product {
  std::uint16_t id = 0;        ///< USB product ID; 0 fills up a row's list
  const char* name = nullptr;  ///< display name, where it is not the model's
};

/// The controls that a model offers, in the order in which they are listed.
class ControlList {
 public:
  constexpr void add(Orvik_CONTROL_TYPE type) { types_[size_++] = type; }

  [[nodiscard]] constexpr std::size_t size() const { return size_; }
  /// @param n below size()
  [[nodiscard]] constexpr Orvik_CONTROL_TYPE operator[](std::size_t n) const { return types_[n]; }
  [[nodiscard]] constexpr const Orvik_CONTROL_TYPE* begin() const { return types_.data(); }
  [[nodiscard]] constexpr const Orvik_CONTROL_TYPE* end() const { return types_.data() + size_; }
  [[nodiscard]] constexpr bool has(Orvik_CONTROL_TYPE type) const {
    return std::find(begin(), end(), type) != end();
  }

 private:
  std::array<Orvik_CONTROL_TYPE, 18> types_{};
  std::size_t size_ = 0;
};

/// What a model is: one row of facts, the same for every camera of the model.
struct ModelRow {
  const char* name;                      ///< display name
  const char* settingsName;              ///< of its group among the user's settings
  std::array<Product, 3> products;       ///< all products that are this model
  bool probed;                           ///< opened for a moment when it is asked what it is
  std::int32_t maxWidth;                 ///< sensor width, pixels
  std::int32_t maxHeight;                ///< sensor height, pixels
  double pixelSizeUm;                    ///< pixel pitch, micrometres
  bool colour;                           ///< has a colour filter mosaic
  BayerPattern bayer;                    ///< its order at the sensor's top left
  bool cooled;                           ///< has a thermo-electric cooler
  bool usb3;                             ///< built for USB 3
  std::array<std::int8_t, 16> bins;      ///< bin factors; ends before the first below 1
  ImageTypes imageTypes;                 ///< image types offered
  ControlRange gain;                     ///< sensor's gain steps
  ControlRange exposureUs;               ///< microseconds
  ControlRange gamma;                    ///< 50 is linear
  std::int32_t whiteBalanceRedDefault;   ///< 50 is neutral
  std::int32_t whiteBalanceBlueDefault;  ///< 50 is neutral
  std::int32_t whiteBalanceMax;          ///< of red and of blue
  std::int32_t whiteBalanceMin;          ///< of red and of blue
  ControlRange brightness;               ///< black level, sensor's steps
  std::int32_t bandwidthMin;             ///< percent
  std::int32_t bandwidthMax;             ///< percent
  bool bandwidthAutoSupported;           ///< can find its bandwidth by itself
  bool hardwareBinAtStart;               ///< bins in the camera unless told otherwise
  ControlList controls;                  ///< controls offered
  bool highByteFirst = false;            ///< 16-bit samples come high byte first
  /// Automatic control takes rounds of 200 ms, up to 600 ms exposure.
  bool slowAutoControl = false;
  bool whiteBalanceOnHost = false;  ///< the sensor has no gains for colours

  /// Bytes of the largest frame that the camera sends.
  [[nodiscard]] constexpr std::size_t largestFrameBytes() const {
    return static_cast<std::size_t>(maxWidth) * static_cast<std::size_t>(maxHeight) *
           (imageTypes.raw16 ? 2 : 1);
  }

  /// @return the product of this model with that ID, or null.
  [[nodiscard]] constexpr const Product* findProduct(std::uint16_t id) const {
    const auto* found = std::find_if(products.begin(), products.end(),
                                     [id](const Product& product) { return product.id == id; });
    return id == 0 || found == products.end() ? nullptr : found;
  }
};

}  // namespace orvik
