// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "orvik/orvik.h"

namespace orvik {

/// Default and range of a control.
struct ControlRange {
  std::int32_t defaultValue = 0;
  std::int32_t max = 0;
  std::int32_t min = 0;
};

/// The public image types that a model offers.
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

/// A product of a model.
struct Product {
  std::uint16_t id = 0;        ///< USB product ID; 0 for an unused element of the list
  const char* name = nullptr;  ///< display name, if it differs from that of the model
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

/// The facts about a model, the same for every camera of the model.
struct ModelRow {
  const char* name;                      ///< display name
  const char* settingsName;              ///< name of its group in the settings of the user
  std::array<Product, 3> products;       ///< all products of this model
  bool probed;                           ///< has variants; must be opened to be described
  std::int32_t maxWidth;                 ///< sensor width, pixels
  std::int32_t maxHeight;                ///< sensor height, pixels
  double pixelSizeUm;                    ///< pixel pitch, micrometres
  bool colour;                           ///< has a colour filter mosaic
  BayerPattern bayer;                    ///< pattern of the mosaic at the top left of the sensor
  bool cooled;                           ///< has a thermo-electric cooler
  bool usb3;                             ///< built for USB 3
  std::array<std::int8_t, 16> bins;      ///< bin factors; ends before the first below 1
  ImageTypes imageTypes;                 ///< image types offered
  ControlRange gain;                     ///< gain steps of the sensor
  ControlRange exposureUs;               ///< microseconds
  ControlRange gamma;                    ///< 50 is linear
  std::int32_t whiteBalanceRedDefault;   ///< 50 is neutral
  std::int32_t whiteBalanceBlueDefault;  ///< 50 is neutral
  std::int32_t whiteBalanceMax;          ///< of red and of blue
  std::int32_t whiteBalanceMin;          ///< of red and of blue
  ControlRange brightness;               ///< black level, in steps of the sensor
  std::int32_t bandwidthMin;             ///< percent
  std::int32_t bandwidthMax;             ///< percent
  bool bandwidthAutoSupported;           ///< offers automatic bandwidth
  bool hardwareBinAtStart;               ///< bins in the camera by default
  ControlList controls;                  ///< controls offered
  bool highByteFirst = false;            ///< 16-bit samples are big-endian
  /// Automatic control works in rounds of 200 ms, up to an exposure of 600 ms.
  bool slowAutoControl = false;
  bool whiteBalanceOnHost = false;  ///< the sensor has no colour gains

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
