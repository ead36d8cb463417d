// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "imaging/view/image_source.h"

namespace orvik::imaging {

/// A star in an image. Lengths are pixels of the image; the centre of the top left one is (0, 0).
struct Star {
  double x = 0;
  double y = 0;
  double hfr = 0;         ///< radius of the circle that half of the light falls into
  double fwhm = 0;        ///< width at half the height
  double flux = 0;        ///< sum of the samples above the background
  double background = 0;  ///< sample value around it
  int peak = 0;           ///< largest sample
  bool saturated = false;
};

/// Measures single stars. Its memory is used again.
class StarProfile {
 public:
  /// Measures what lies at a position.
  ///
  /// @param x, y pixels of luminance()
  /// @param radius about that of what stands out of the background, pixels of luminance()
  /// @return nothing if it does not stand out of its surroundings, or is no star by its shape
  std::optional<Star> measure(const ImageSource& image, double x, double y, double radius);

 private:
  struct Background {
    double level = 0;
    double noise = 0;
  };
  struct Pixel {
    int x = 0;
    int y = 0;
    double light = 0;  // above the background
  };
  Background collect(const ImageSource& image, double x, double y, double radius);
  [[nodiscard]] double halfFluxRadius(double x, double y, double radius);
  [[nodiscard]] double widthAtHalf(double x, double y, double height) const;

  std::vector<Pixel> pixels_;
  std::vector<float> ring_;
  std::vector<double> rings_;
};

}  // namespace orvik::imaging
