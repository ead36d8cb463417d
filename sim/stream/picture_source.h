// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "sim/camera_options.h"
#include "sim/frame_settings.h"
#include "sim/picture/picture_maker.h"
#include "sim/stream/outbox.h"

namespace orvik::sim {

/// Rows of a frame, with the marks that lie in them.
struct Strip {
  std::shared_ptr<const Picture> picture;  ///< null if the frame is dropped
  RowRange rows;

  [[nodiscard]] bool holds(int row) const {
    return picture != nullptr && row >= rows.begin && row < rows.end;
  }
};

/// Makes the frames of one camera with their marks, whole or in strips, in memory that is reused
/// when no one holds it any more. One thread at a time.
class PictureSource {
 public:
  PictureSource(const CameraOptions& options, PictureMaker maker)
      : filter_(options.frameFilter), maker_(std::move(maker)) {}

  /// @param look how the telescope showed the sky
  /// @param number of the frame; its low 16 bits are its sequence number
  /// @param repeated whether one of a few earlier pictures may be used
  /// @return null for a frame that the filter has dropped. Throws std::bad_alloc.
  std::shared_ptr<const Picture> make(const FrameSettings& settings, const Look& look,
                                      std::uint64_t number, bool repeated);

  /// The next rows of a frame, from `row` on: about four megabytes, so that a large frame is never
  /// in memory as a whole, and a small one is made at once. With a filter, which needs whole
  /// frames, all rows from the first one on. The rest as make().
  Strip makeStrip(const FrameSettings& settings, const Look& look, std::uint64_t number, int row);

  /// Works out ahead what the first frame will need.
  void prepare() { maker_.prepare(); }

  /// Gives back the memory that no one holds.
  void release();

 private:
  /// The pictures that are repeated.
  struct Ring {
    std::array<std::shared_ptr<Picture>, 4> pictures;
    std::size_t made = 0;
    std::size_t next = 0;
    std::optional<FrameSettings> settings;
    Look look;
  };

  std::shared_ptr<Picture> memory();
  std::shared_ptr<Picture> fromRing(const FrameSettings& settings, const Look& look,
                                    std::uint64_t number);
  void makeWhole(const FrameSettings& settings, const Look& look, std::uint64_t number,
                 Picture& picture);

  const FrameFilter filter_;
  PictureMaker maker_;
  std::vector<std::shared_ptr<Picture>> memories_;
  Ring ring_;
  Look last_;
};

}  // namespace orvik::sim
