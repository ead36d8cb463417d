// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>

#include "algorithm/frame_region.h"
#include "algorithm/hot_pixel_table.h"
#include "algorithm/hot_sites.h"
#include "base/published.h"
#include "delivery/hot_pixel_storage.h"
#include "link/flash_port.h"

namespace orvik {

/// The hot pixels of a camera: the table of the whole sensor, and its cut, the sites of the present
/// region, which are mended in every frame while the correction is switched on.
///
/// Threads: correct() for the thread that delivers, everything else for any thread; save() and
/// load() not during capture, whose stream they would break.
class HotPixels {
 public:
  /// @param width, height of the sensor, pixels
  HotPixels(int width, int height);

  /// Makes the table from a dark frame of the whole sensor; see deriveHotPixels(). What was marked
  /// by hand stays so.
  void derive(std::span<const std::uint8_t> dark);
  /// Marks one pixel by hand, as hot or as good.
  /// @param x, y sensor pixels
  /// @return false outside the sensor.
  bool mark(int x, int y, bool hot);
  /// The table of the whole sensor; null without one.
  [[nodiscard]] std::shared_ptr<const HotPixelTable> table() const { return table_.get(); }
  [[nodiscard]] bool hasTable() const { return table() != nullptr; }

  /// Saves the table in the flash; see saveHotPixels(). Without a table it fails.
  HotPixelSaving save(FlashPort& port) const;
  /// Takes over the table stored in the flash; see loadHotPixels(). What could be read of one that
  /// is damaged is used all the same.
  /// @return whether it was read whole.
  bool load(FlashPort& port);

  /// Switches the correction on or off.
  void use(bool on);
  /// The same, but not on without a table. @return whether it was done.
  bool useTable(bool on) {
    if (on && !hasTable()) return false;
    use(on);
    return true;
  }
  [[nodiscard]] bool isSwitchedOn() const { return on_; }
  /// Follows the camera to another region. The table is cut now if the correction is on, else when
  /// it is switched on.
  void follow(const FrameRegion& region);

  /// Mends the frame's hot samples, if the correction is on.
  /// @param region that the frame shows; for another one than the present a cut is made for this
  ///        frame alone
  void correct(std::span<std::uint8_t> frame, const FrameRegion& region) const;
  void correct(std::span<std::uint16_t> frame, const FrameRegion& region) const;

  /// Hot pixels of the whole sensor, and hot samples of the cut.
  [[nodiscard]] std::size_t count() const;
  [[nodiscard]] std::size_t countInRegion() const;

 private:
  void adopt(HotPixelTable table);
  void cut();
  template <typename Sample>
  void correctSamples(std::span<Sample> frame, const FrameRegion& region) const;

  const int width_;
  const int height_;
  std::atomic<bool> on_{false};
  std::mutex changing_;  ///< held while the table or its cut is replaced; guards the next two
  FrameRegion region_;
  std::map<std::size_t, bool> marks_;  ///< made by hand
  Published<HotPixelTable> table_;
  Published<HotSites> cut_;
};

}  // namespace orvik
