// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stop_token>

namespace orvik::server {

/// An image as clients fetch it: the pixels of a column lie together, the left column first.
struct AlpacaImage {
  int numX = 0;
  int numY = 0;
  int bytesPerSample = 2;  ///< 1 or 2, little-endian
  std::unique_ptr<std::uint8_t[]> samples;
  /// Requested when the memory is needed for the next image: who is still sending this one breaks
  /// off and lets go of it.
  std::stop_token recalled;

  [[nodiscard]] std::span<const std::uint8_t> bytes() const {
    return {samples.get(), static_cast<std::size_t>(numX) * static_cast<std::size_t>(numY) *
                               static_cast<std::size_t>(bytesPerSample)};
  }
  template <typename Sample>
  [[nodiscard]] Sample* as() const {
    return reinterpret_cast<Sample*>(samples.get());
  }
};

/// Gives the images of one camera their memory, which is that of one image at a time: with the
/// frame that was just read from the camera there are two at most. (Who watches the camera in the
/// page keeps a frame of its own.)
///
/// A client that fetches the former image slowly may keep it for a while, in which the next one has
/// to wait. Then its download is broken off, so that no client can stop a camera.
class ImageRoom {
 public:
  /// @param patience how long a download of the former image may delay the next one
  explicit ImageRoom(std::chrono::milliseconds patience = std::chrono::seconds(10));

  /// Waits until the former image is not used any more and makes the next one.
  /// @return null when a stop was requested
  /// @throws AlpacaError if somebody has not let go of the former image although it was recalled
  std::shared_ptr<AlpacaImage> make(int numX, int numY, int bytesPerSample,
                                    const std::stop_token& stop);

 private:
  struct Occupancy;
  std::chrono::milliseconds patience_;
  std::shared_ptr<Occupancy> occupancy_;
};

}  // namespace orvik::server
