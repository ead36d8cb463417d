// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <tuple>
#include <vector>

#include "imaging/view/image_source.h"
#include "imaging/view/stretch.h"

namespace orvik::imaging {

/// Which part of an image is shown, and how many pixels of it become one.
struct RenderPlan {
  Window part;
  int factor = 1;  ///< mosaics: 1 or even, so that a pixel is made of whole 2 x 2 cells
  friend auto operator<=>(const RenderPlan& one, const RenderPlan& other) {
    const auto key = [](const RenderPlan& plan) {
      return std::tuple(plan.part.x, plan.part.y, plan.part.width, plan.part.height, plan.factor);
    };
    return key(one) <=> key(other);
  }
  friend bool operator==(const RenderPlan&, const RenderPlan&) = default;

  [[nodiscard]] Size size() const { return {part.width / factor, part.height / factor}; }
};

/// Plans the picture for a place on the screen: averaged down by the whole factor that comes
/// nearest to the place's size, never scaled up.
///
/// @param wanted empty for the whole image. What lies outside the image is left out.
/// @param place pixels of the screen
/// @param coarser 1, or a factor by which the picture is made smaller than that
RenderPlan planFor(const ImageSource& image, const std::optional<Window>& wanted, Size place,
                   int coarser);

/// Makes pictures of 8 bits from images: averages pixels, then applies a stretch. A single pixel of
/// a mosaic is interpolated. Its memory is used again.
class Renderer {
 public:
  /// @return a byte a pixel, or blue, green and red, valid until the next call
  std::span<const std::uint8_t> render(const ImageSource& image, const RenderPlan& plan,
                                       const StretchTable& table);

 private:
  template <typename Sample, typename Sum>
  void average(const ImageSource& image, const RenderPlan& plan, const StretchTable& table,
               std::vector<Sum>& sums);
  void copy(const ImageSource& image, const Window& part, const StretchTable& table);
  void interpolate(const ImageSource& image, const Window& part, const StretchTable& table);

  std::vector<std::uint8_t> picture_;
  std::vector<std::uint8_t> stretched_;
  std::vector<std::uint8_t> interpolated_;
  std::vector<std::uint16_t> sums8_;
  std::vector<std::uint32_t> sums16_;
};

}  // namespace orvik::imaging
