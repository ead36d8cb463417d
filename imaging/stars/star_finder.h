// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "imaging/stars/star_plane.h"
#include "imaging/stars/star_profile.h"
#include "imaging/view/image_source.h"

namespace orvik::imaging {

/// Finds stars, however defocused: what stands out of its surroundings, is larger than a hot pixel,
/// small and round. Its memory is used again.
class StarFinder {
 public:
  /// @return at most 50, the brightest first
  const std::vector<Star>& find(const ImageSource& image);

 private:
  /// Connected pixels above the threshold.
  struct Blob {
    int pixels = 0;
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;
    double flux = 0;
    double x = 0;  ///< sum of x times flux
    double y = 0;
  };
  /// Neighbouring pixels of a row, which belong to the blob of `parent`.
  struct Run {
    int begin = 0;
    int end = 0;
    std::size_t parent = 0;
  };
  void findBlobs();
  std::size_t blobOf(std::size_t run);
  void join(std::size_t upperBegin, std::size_t upperEnd, std::size_t lowerBegin);

  StarPlane plane_;
  std::vector<Run> runs_;
  std::vector<int> rowOfRun_;
  std::vector<std::size_t> blobOfRun_;
  std::vector<Blob> blobs_;
  StarProfile profile_;
  std::vector<Star> stars_;
};

}  // namespace orvik::imaging
