// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "algorithm/colour_balance.h"
#include "algorithm/demosaic.h"
#include "camera/camera_base.h"
#include "camera/host_balance.h"

namespace orvik {

/// A camera that has no gains of its own for red and blue: they are applied while its frames are
/// demosaiced (hostBalance()). The raw frame does not change with the balance, so
/// automatic white balance looks at the demosaiced image.
/// @tparam Base the camera's family
template <class Base>
class HostWhiteBalance : public Base {
 public:
  using Base::Base;

  /// Takes a step of white balance if it is on automatic. @param raw 8-bit frame of the present
  /// region, unbinned where the host bins
  void AutoWhiBal(const std::uint8_t* raw) {
    const auto lock = CCameraBase::lockSettings();
    if (!this->state().whiteBalanceAuto) return;
    const CameraState& now = this->state();
    AutoWB(demosaicked(raw, now.columnsDelivered(), now.rowsDelivered()));
  }

  /// Takes a step of white balance; see nextBalance().
  /// @param rgb image of the present region, three bytes a pixel, unbinned where the host bins
  void AutoWB(const std::uint8_t* rgb) {
    const auto lock = CCameraBase::lockSettings();
    const CameraState& now = this->state();
    const auto colour =
        imageColour(rgb, now.columnsDelivered(), now.rowsDelivered(), now.softwareBin());
    if (colour) this->followColour(*colour);
  }

  /// Statistics of one block of such an image; see imageBlock(). As Get_variance_ave_RAW()
  /// otherwise.
  void Get_variance_ave(const std::uint8_t* rgb, int blockColumn, int blockRow, int blockWidth,
                        int blockHeight, int rowLength, int imageHeight, int* redDeviation,
                        int* greenDeviation, int* blueDeviation, int* redMean, int* greenMean,
                        int* blueMean) const {
    const FrameBlock block{
        .column = blockColumn, .row = blockRow, .width = blockWidth, .height = blockHeight};
    storeBlock(imageBlock(rgb, rowLength, imageHeight, block, this->state().softwareBin()),
               {redDeviation, greenDeviation, blueDeviation}, {redMean, greenMean, blueMean});
  }

 protected:
  std::optional<ColourValues> measureColour(const RawFrame& frame, int hostBin) override {
    return imageColour(demosaicked(frame.samples, frame.columns, frame.rows), frame.columns,
                       frame.rows, hostBin);
  }

 private:
  /// As the sensor sees it: a flip changes no colour.
  const std::uint8_t* demosaicked(const std::uint8_t* raw, int columns, int rows) {
    rgb_.resize(std::size_t{3} * static_cast<std::size_t>(columns) *
                static_cast<std::size_t>(rows));
    demosaic(raw, rgb_.data(), this->model().bayer, columns, rows,
             hostBalance(this->model(), this->state()));
    return rgb_.data();
  }

  std::vector<std::uint8_t> rgb_;  ///< guarded by the lock for settings
};

}  // namespace orvik
