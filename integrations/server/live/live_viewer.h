// SPDX-License-Identifier: MIT
// What a live view shows to those who watch it.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "imaging/stars/star_profile.h"
#include "imaging/view/frame_statistics.h"
#include "imaging/view/stretch.h"

namespace orvik::server {

/// What a JPEG shows.
struct Picture {
  std::uint32_t message = 0;  ///< number among those for the same viewer, from 1 on
  std::int64_t frame = 0;     ///< number in its capture
  imaging::Window part;       ///< of the image
  imaging::Size whole;        ///< of the image
  bool isMagnified = false;   ///< whether it is the brightest star
  double exposure = 0;        ///< seconds
};

/// What is told about a frame besides its picture.
struct FrameReport {
  std::int64_t frame = 0;
  int depth = 255;
  std::vector<imaging::ChannelStatistics> channels;
};

/// The pixel under the pointer.
struct PixelValue {
  int x = 0;
  int y = 0;
  std::vector<int> values;
};

/// The brightest star at a moment.
struct FocusSample {
  std::chrono::system_clock::time_point time;
  double hfr = 0;
  double fwhm = 0;
};

/// What a viewer wants to see.
struct ViewWish {
  bool isShown = false;                   ///< nothing is made for those who do not look
  std::optional<imaging::Window> window;  ///< of the image; empty for all of it
  imaging::Size place;                    ///< pixels of the screen
};

/// Somebody who watches. The functions are called on the live view's thread and must return at
/// once.
class LiveViewer {
 public:
  virtual ~LiveViewer() = default;
  virtual void picture(const Picture& picture, std::shared_ptr<const std::string> jpeg) = 0;
  virtual void statistics(const std::shared_ptr<const FrameReport>& report,
                          const std::optional<PixelValue>& pixel) = 0;
  /// @param course what this viewer has not been shown yet
  virtual void stars(const std::vector<imaging::Star>& stars,
                     std::span<const FocusSample> course) = 0;
  /// The stretch has been changed, or has followed the picture.
  virtual void stretch(const imaging::Stretch& stretch) = 0;
  /// Messages that have not left for the viewer's machine yet.
  [[nodiscard]] virtual std::size_t waiting() const = 0;
};

}  // namespace orvik::server
