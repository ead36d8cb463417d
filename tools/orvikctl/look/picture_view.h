// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "imaging/stars/star_finder.h"
#include "imaging/view/render.h"
#include "imaging/view/stretch.h"
#include "tools/orvikctl/capture/brightness.h"
#include "tools/orvikctl/terminal/picture_text.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {

/// Which part of an image is shown, and how.
struct LookOptions {
  bool isLinear = false;         ///< without a stretch
  std::optional<Region> crop{};  ///< pixels of the image
  double zoom = 1;               ///< 1 or more: the middle of that, one zoomth of its size
};

/// Reduces a picture by a whole factor. A pixel has the mean of its block, or 75 % of the brightest
/// value if that is more: stars, which are smaller than a block, remain.
///
/// @param reduced receives the pixels of the result
Picture reducedKeepingStars(const Picture& picture, int factor, std::vector<std::uint8_t>& reduced);

/// Makes pictures of one image after the other, with a stretch that follows them.
class PictureView {
 public:
  explicit PictureView(const LookOptions& options) : options_(options) {}

  /// Measures an image.
  ///
  /// @param seconds since the last one
  /// @throws Failure (kUsage) if it has nothing where the options look
  void take(const imaging::ImageSource& image, double seconds);

  /// What is told of the last image.
  [[nodiscard]] const Brightness& brightness() const { return brightness_; }

  /// The picture of an image that was taken: the part that is shown, in about the size of a place
  /// in pixels unless the image has fewer. Valid until the next call.
  Picture picture(const imaging::ImageSource& image, imaging::Size place);

 private:
  [[nodiscard]] imaging::Window windowOf(const imaging::ImageSource& image) const;

  LookOptions options_;
  imaging::Window window_;
  imaging::ValueCounts counts_;
  Brightness brightness_;
  imaging::AutoStretch stretch_;
  imaging::StretchTable table_;
  imaging::Renderer renderer_;
  std::vector<std::uint8_t> reduced_;
};

}  // namespace orvik::ctl
