// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "algorithm/dark.h"
#include "algorithm/frame_region.h"
#include "base/page_buffer.h"
#include "base/published.h"
#include "delivery/dark_file.h"
#include "delivery/dark_recording.h"

namespace orvik {

/// The dark frame of a camera, an image of the whole sensor without light, 8 bits per pixel; and
/// its cut, the part that the present region shows, which is subtracted from 8-bit frames.
///
/// A dark frame is loaded from a file or recorded from frames; it is used while it is switched on.
/// Memory of the size of the sensor is allocated only when it is loaded or recorded. Threads:
/// addFrame(), subtractionFor() and subtract() for the delivering thread, everything else for any
/// thread. The delivering thread never waits for a cut to be made by another thread. It makes a cut
/// itself when it has completed a recording, and for a frame that shows another region than the
/// present one.
class DarkFrame {
  struct Cut;

 public:
  /// The subtraction for frames of one region. It stays the same when the dark frame is replaced.
  class Subtraction {
   public:
    /// None.
    Subtraction() = default;
    /// Whether there is anything to subtract.
    explicit operator bool() const { return cut_ != nullptr; }
    /// Subtracts the dark frame from some samples of a frame. The mean of the dark frame is added
    /// back, so that noise around black is not clipped.
    /// @param first index in the frame of the first of the samples
    void apply(std::span<std::uint8_t> samples, std::size_t first) const;

   private:
    friend DarkFrame;
    explicit Subtraction(std::shared_ptr<const Cut> cut) : cut_(std::move(cut)) {}
    std::shared_ptr<const Cut> cut_;
  };

  /// @param width, height of the sensor, pixels
  DarkFrame(int width, int height);

  /// Loads a dark frame from a file. If the file cannot be opened, no dark frame counts as loaded
  /// any more; after any other failure the present one stays in use.
  DarkFileResult load(const std::string& path);
  /// Saves the dark frame. @return false without one, or when the file cannot be written.
  bool save(const std::string& path);
  /// The file last loaded or saved.
  [[nodiscard]] std::string path() const;
  void setPath(const std::string& path);

  /// Switches subtraction on or off.
  void use(bool on);
  [[nodiscard]] bool isSwitchedOn() const { return on_; }
  /// Whether there is a dark frame, loaded or recorded.
  [[nodiscard]] bool isLoaded() const { return loaded_; }
  /// Whether it is switched on and there is one.
  [[nodiscard]] bool isInUse() const { return on_ && loaded_; }

  /// Adapts to another region. The cut is made now if the dark frame is in use, else when it is
  /// switched on.
  void follow(const FrameRegion& region);

  /// Begins the recording of a dark frame from 1 to 5 frames, or cancels it.
  void startRecording(int frames);
  void stopRecording();
  /// Whether the last recording was completed.
  [[nodiscard]] bool isRecordingOver() const { return recordingOver_; }
  /// The number of frames that the last recording has taken and needs; 0 and 1 before the first.
  void recordingCount(int& taken, int& wanted) const;

  /// Adds a frame to a running recording. Frames that do not show every sensor pixel are ignored.
  void addFrame(std::span<const std::uint8_t> frame, int columns, int rows);
  /// What is to be subtracted from a frame; nothing if the dark frame is not in use.
  /// @param region of the frame; if it is not the present one, a cut is made for this frame only
  [[nodiscard]] Subtraction subtractionFor(const FrameRegion& region) const;
  /// Subtracts it from a whole frame.
  void subtract(std::span<std::uint8_t> frame, const FrameRegion& region) const;

  /// The dark frame of the whole sensor; null without one.
  using Plane = std::shared_ptr<const PageBuffer>;
  [[nodiscard]] Plane plane() const { return plane_.get(); }
  /// The number of hot samples in the cut (see isHot()), and the mean of the cut; 0 without a cut.
  [[nodiscard]] std::size_t hotSampleCount() const;
  [[nodiscard]] std::uint32_t mean() const;

 private:
  struct Cut {
    FrameRegion region;
    std::uint32_t mean = 0;
    std::vector<std::uint32_t> hot;       ///< indices of the hot samples of the region
    std::unique_ptr<PageBuffer> samples;  ///< 16 bits for each sample of a frame
  };

  [[nodiscard]] std::shared_ptr<PageBuffer> newPlane() const;
  void adopt(Plane plane);
  [[nodiscard]] bool isCurrent(const std::shared_ptr<DarkRecording>& recording) const;
  void cut();
  [[nodiscard]] std::shared_ptr<const Cut> makeCut(const PageBuffer& plane,
                                                   const FrameRegion& region) const;

  const int width_;
  const int height_;
  std::atomic<bool> on_{false};
  std::atomic<bool> loaded_{false};
  std::atomic<bool> recordingOver_{false};

  std::mutex changing_;  ///< held while the dark frame or its cut is replaced
  FrameRegion region_;   ///< guarded by changing_
  Published<PageBuffer> plane_;
  Published<Cut> cut_;

  mutable std::mutex labels_;  ///< guards the two below
  std::string path_;
  std::shared_ptr<DarkRecording> recording_;  ///< the last one; runs until it is complete
};

}  // namespace orvik
