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
/// region, which are corrected in every frame while the correction is switched on.
///
/// Threads: sitesFor() and correct() for the delivering thread, everything else for any thread;
/// save() and load() not during capture, because they would interrupt the stream.
class HotPixels {
 public:
  /// @param width, height of the sensor, pixels
  HotPixels(int width, int height);

  /// Makes the table from a dark frame of the whole sensor; see deriveHotPixels(). Marks made by
  /// hand are kept.
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
  /// Loads the table stored in the flash; see loadHotPixels(). Of a damaged table, the readable
  /// part is used.
  /// @return whether it was read completely.
  bool load(FlashPort& port);

  /// Switches the correction on or off.
  void use(bool on);
  /// The same, but refuses to switch on without a table. @return whether it was done.
  bool useTable(bool on) {
    if (on && !hasTable()) return false;
    use(on);
    return true;
  }
  [[nodiscard]] bool isSwitchedOn() const { return on_; }
  /// Adapts to another region. The cut is made now if the correction is on, else when it is
  /// switched on.
  void follow(const FrameRegion& region);

  /// The sites to correct in a frame; null if the correction is off.
  /// @param region of the frame; if it is not the present one, a cut is made for this frame only
  [[nodiscard]] std::shared_ptr<const HotSites> sitesFor(const FrameRegion& region) const;
  /// Corrects the hot samples of a frame, if the correction is on.
  /// @param region of the frame; if it is not the present one, a cut is made for this frame only
  void correct(std::span<std::uint8_t> frame, const FrameRegion& region) const;
  void correct(std::span<std::uint16_t> frame, const FrameRegion& region) const;

  /// The number of hot pixels of the whole sensor, and of hot samples in the cut.
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
