// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

#include "algorithm/algorithm.h"
#include "algorithm/gamma.h"
#include "camera/camera_state.h"
#include "camera/capture/frame_protocol.h"
#include "camera/capture/frame_queue.h"
#include "camera/delivery/turn.h"
#include "camera/model_row.h"

namespace orvik {

/// Takes frames out of the queue and makes images of them: marks mended, gamma, flip, binning and
/// conversion, in that order. One thread at a time; a second one waits its turn.
class FrameDelivery {
 public:
  /// @param model, protocol, state, queue of the camera; must outlive the delivery
  FrameDelivery(const ModelRow& model, const FrameProtocol& protocol, const CameraState& state,
                FrameQueue& queue);

  /// Delivers the oldest frame as an image.
  /// @param image receives the image; for raw types and luminance at most as much as fits, a colour
  ///        image must fit whole
  /// @param wait longest wait for a frame
  /// @return false when no frame came, or a colour image does not fit; `image` is then as it was.
  bool deliver(std::span<std::uint8_t> image, FrameQueue::Wait wait);

  /// Uses new gamma tables from the next image on. Any thread.
  void setGamma(int value);

 private:
  struct Job;

  struct GammaTables {
    std::array<std::uint8_t, 256> table8;
    std::array<std::uint16_t, 65536> table16;
  };

  [[nodiscard]] Job currentJob() const;
  [[nodiscard]] bool isUsable() const;
  [[nodiscard]] bool fits(const Job& job, std::size_t imageBytes) const;
  void applyGamma(const Job& job);
  void convert(const Job& job, std::span<std::uint8_t> image);
  void demosaic(const Job& job, std::uint8_t* rgb);
  const std::uint8_t* demosaicToBuffer(const Job& job);

  const ModelRow& model_;
  const FrameProtocol& protocol_;
  const CameraState& state_;
  FrameQueue& queue_;
  Turn turn_;
  FrameBuffer frame_;  ///< the frame in work; exchanged with the queue's
  FrameBuffer rgb_;    ///< colour image on the way to another type
  std::mutex gammaMutex_;
  std::shared_ptr<const GammaTables> gamma_;  ///< null: linear, nothing to do
};

}  // namespace orvik
