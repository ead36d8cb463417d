// SPDX-License-Identifier: MIT
#include "imaging/stars/star_finder.h"

#include <algorithm>
#include <cmath>

#include "imaging/stars/star_profile.h"
#include "imaging/view/frame_statistics.h"

namespace orvik::imaging {
namespace {

constexpr std::size_t kMostStars = 50;
constexpr std::size_t kMostMeasured = 120;
constexpr std::size_t kMostRuns = 200'000;
constexpr float kThreshold = 3.5F;    // standard deviations above the background
constexpr int kSmallestBlob = 4;      // pixels; a hot pixel has one
constexpr int kLargestBlob = 160;     // pixels wide or high
constexpr double kLongestBlob = 3;    // times as long as wide
constexpr double kSharedLight = 0.7;  // of the radius: nearer stars are one

/// Whether what surrounds it is much brighter than the sky: then it is a feature of the Moon or of
/// a planet.
bool isOnSomething(const Star& star, double sky) {
  constexpr double kContrast = 0.5;
  return star.background - sky > kContrast * (star.peak - star.background);
}

}  // namespace

std::size_t StarFinder::blobOf(std::size_t run) {
  while (runs_[run].parent != run) {
    runs_[run].parent = runs_[runs_[run].parent].parent;
    run = runs_[run].parent;
  }
  return run;
}

void StarFinder::join(std::size_t upperBegin, std::size_t upperEnd, std::size_t lowerBegin) {
  std::size_t upper = upperBegin;
  for (std::size_t lower = lowerBegin; lower < runs_.size(); ++lower) {
    while (upper < upperEnd && runs_[upper].end < runs_[lower].begin) ++upper;
    // They touch at a side or a corner. The last of them may touch the next run as well.
    for (std::size_t i = upper; i < upperEnd && runs_[i].begin <= runs_[lower].end; ++i) {
      const std::size_t one = blobOf(i);
      const std::size_t other = blobOf(lower);
      runs_[std::max(one, other)].parent = std::min(one, other);
    }
  }
}

void StarFinder::findBlobs() {
  runs_.clear();
  rowOfRun_.clear();
  blobs_.clear();
  std::size_t upperBegin = 0;
  for (int y = 0; y < plane_.size().height && runs_.size() < kMostRuns; ++y) {
    const std::uint16_t* const row = plane_.row(y);
    const std::size_t begin = runs_.size();
    bool isInRun = false;
    for (int left = 0; left < plane_.size().width; left += StarPlane::kBlock) {
      const auto [level, noise] = plane_.background(left, y);
      const auto threshold =
          static_cast<std::uint16_t>(std::min(65535.0F, level + kThreshold * noise));
      const int right = std::min(left + StarPlane::kBlock, plane_.size().width);
      for (int x = left; x < right; ++x) {
        const bool isAbove = row[x] > threshold;
        if (isAbove && !isInRun) runs_.push_back({x, x, runs_.size()});
        if (isAbove) ++runs_.back().end;
        isInRun = isAbove;
      }
    }
    join(upperBegin, begin, begin);
    upperBegin = begin;
    rowOfRun_.resize(runs_.size(), y);
  }

  blobOfRun_.assign(runs_.size(), 0);
  for (std::size_t i = 0; i < runs_.size(); ++i) {
    const std::size_t first = blobOf(i);
    if (first == i) {
      blobOfRun_[i] = blobs_.size();
      blobs_.push_back({0, runs_[i].begin, runs_[i].end, rowOfRun_[i], rowOfRun_[i], 0, 0, 0});
    } else {
      blobOfRun_[i] = blobOfRun_[first];
    }
    Blob& blob = blobs_[blobOfRun_[i]];
    const int y = rowOfRun_[i];
    blob.pixels += runs_[i].end - runs_[i].begin;
    blob.left = std::min(blob.left, runs_[i].begin);
    blob.right = std::max(blob.right, runs_[i].end);
    blob.bottom = y + 1;
    for (int x = runs_[i].begin; x < runs_[i].end; ++x) {
      const double light = plane_.row(y)[x] - plane_.background(x, y).level;
      blob.flux += light;
      blob.x += light * x;
      blob.y += light * y;
    }
  }
}

const std::vector<Star>& StarFinder::find(const ImageSource& image) {
  stars_.clear();
  plane_.make(image);
  findBlobs();
  std::erase_if(blobs_, [](const Blob& blob) {
    const int width = blob.right - blob.left;
    const int height = blob.bottom - blob.top;
    return blob.pixels < kSmallestBlob || std::max(width, height) > kLargestBlob ||
           std::max(width, height) > kLongestBlob * std::min(width, height) || blob.flux <= 0;
  });
  const auto brighter = [](const auto& one, const auto& other) { return one.flux > other.flux; };
  const std::size_t measured = std::min(blobs_.size(), kMostMeasured);
  std::partial_sort(blobs_.begin(), blobs_.begin() + static_cast<std::ptrdiff_t>(measured),
                    blobs_.end(), brighter);

  // A pixel of the plane covers so many of the profile's, whose centres lie around its own.
  const double scale = static_cast<double>(plane_.step()) / luminanceStep(image);
  for (std::size_t i = 0; i < measured; ++i) {
    const Blob& blob = blobs_[i];
    const double x = (blob.x / blob.flux + 0.5) * scale - 0.5;
    const double y = (blob.y / blob.flux + 0.5) * scale - 0.5;
    const double radius = scale * std::sqrt(blob.pixels / 3.14159265358979);
    const auto star = profile_.measure(image, x, y, radius);
    if (!star || isOnSomething(*star, plane_.sky())) continue;
    const bool isKnown = std::any_of(stars_.begin(), stars_.end(), [&](const Star& known) {
      return std::hypot(known.x - star->x, known.y - star->y) <
             kSharedLight * (known.hfr + star->hfr);
    });
    if (!isKnown) stars_.push_back(*star);
  }
  std::sort(stars_.begin(), stars_.end(), brighter);
  if (stars_.size() > kMostStars) stars_.resize(kMostStars);
  return stars_;
}

}  // namespace orvik::imaging
