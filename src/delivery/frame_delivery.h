// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "algorithm/demosaic.h"
#include "base/published.h"
#include "base/timed_mutex.h"
#include "capture/frame_protocol.h"
#include "capture/frame_queue.h"
#include "delivery/dark_frame.h"
#include "delivery/frame_corrections.h"
#include "delivery/hot_pixels.h"
#include "state/camera_state.h"
#include "state/model_row.h"

namespace orvik {

/// The facts about an image that was delivered.
struct DeliveredImage {
  FrameFormat format;
  FrameFacts facts;
  bool flipHorizontal = false;
  bool flipVertical = false;
};

/// Takes frames from the queue and makes images of them: replaces the marks, subtracts the dark
/// frame, applies gamma, corrects hot pixels, flips, bins, converts and adds the time mark, in that
/// order (see FrameCorrections). The format of an image is that of its frame; flips, gamma and
/// corrections are those at the time of delivery. One thread at a time; a second one waits its
/// turn.
class FrameDelivery {
 public:
  /// The corrections that are applied to each frame.
  struct Corrections {
    DarkFrame& dark;
    const HotPixels& hotPixels;
  };

  /// @param model, protocol, state, queue, corrections of the camera; must outlive the delivery
  FrameDelivery(const ModelRow& model, const FrameProtocol& protocol, const CameraState& state,
                FrameQueue& queue, Corrections corrections);

  /// Delivers the oldest frame as an image.
  /// @param image receives the image; a frame whose image does not fit stays in the queue
  /// @param timeout longest wait for a frame; without a value it waits as long as a capture runs
  /// @return why there is no image, and `image` is unchanged; nothing when there is one.
  std::optional<NoFrame> deliver(std::span<std::uint8_t> image, FrameQueue::Timeout timeout);

  /// The facts about the last image; nothing before the first.
  [[nodiscard]] std::optional<DeliveredImage> lastImage() const;

  /// Uses new gamma tables from the next image on. Any thread.
  void setGamma(int value);

  /// Keeps the frame that was taken last until another one comes, for useFrame(). Otherwise its
  /// memory is given up when its capture ends, and for the next delivery. Before the first one.
  void keepLastFrame() { keepsLastFrame_ = true; }

  /// Gives up the last frame unless it is to be kept.
  void captureEnded() {
    if (!keepsLastFrame_) release();
  }

  /// Gives up the memory of the frame that was taken last, unless a delivery is running.
  void release() {
    const std::unique_lock delivery(delivering_, std::try_to_lock);
    if (delivery) frame_.memory.reset();
  }

  /// Calls `use(frame)` with the memory of the frame that was taken last, corrected, unless a
  /// delivery is running, or there is none; see keepLastFrame().
  template <class Use>
  void useFrame(Use use) {
    const std::unique_lock delivery(delivering_, std::try_to_lock);
    if (!delivery || !frame_.memory) return;
    if (present_) present_->complete(*frame_.memory);
    use(*frame_.memory);
  }

 private:
  struct Job;

  [[nodiscard]] Job jobOf(const Frame& frame) const;
  [[nodiscard]] CorrectionSteps stepsFor(const Job& job);
  static void markTime(const Job& job, std::uint8_t* image);
  void convert(const Job& job, std::span<std::uint8_t> image);
  [[nodiscard]] BayerPattern patternOf(const Job& job) const;
  template <class Make>
  void makeByCells(const Job& job, Make make);

  const ModelRow& model_;
  const FrameProtocol& protocol_;
  const CameraState& state_;
  FrameQueue& queue_;
  const Corrections corrections_;
  bool keepsLastFrame_ = false;
  TimedMutex delivering_;
  Frame frame_;                              ///< the frame being processed, or the last one
  std::optional<FrameCorrections> present_;  ///< of that frame
  std::vector<std::uint8_t> colourRows_;     ///< a row of cells as an intermediate result
  Published<GammaTables> gamma_;             ///< null if linear
  mutable std::mutex lastMutex_;
  std::optional<DeliveredImage> last_;
};

}  // namespace orvik
