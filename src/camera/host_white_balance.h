// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "algorithm/colour_balance.h"
#include "algorithm/demosaic.h"
#include "camera/camera.h"
#include "controls/host_balance.h"

namespace orvik {

/// A camera without gains of its own for red and blue: they are applied while its frames are
/// demosaiced (hostBalance()). The raw frame does not change with the balance, so automatic white
/// balance measures the demosaiced image.
/// @tparam Base the camera's family
template <class Base>
class HostWhiteBalance : public Base {
 public:
  using Base::Base;

  std::optional<ColourValues> measureColour(const RawFrame& frame, int hostBin) override {
    return imageColour(demosaicked(frame.samples, frame.columns, frame.rows), frame.columns,
                       frame.rows, hostBin);
  }

 private:
  /// Not flipped, since a flip changes no colour.
  const std::uint8_t* demosaicked(const std::uint8_t* raw, int columns, int rows) {
    rgb_.resize(std::size_t{3} * static_cast<std::size_t>(columns) *
                static_cast<std::size_t>(rows));
    demosaic(raw, rgb_.data(), this->model().bayer, columns, rows,
             hostBalance(this->model(), this->state()));
    return rgb_.data();
  }

  std::vector<std::uint8_t> rgb_;  ///< guarded by the settings lock
};

}  // namespace orvik
