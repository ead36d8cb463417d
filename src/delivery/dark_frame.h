// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "algorithm/dark.h"
#include "algorithm/frame_region.h"
#include "base/page_buffer.h"
#include "base/published.h"
#include "delivery/dark_file.h"
#include "delivery/dark_recording.h"

namespace orvik {

/// The dark frame of a camera: a picture of the whole sensor without light, 8 bits a pixel; and its
/// cut, the part that the present region shows, which is subtracted from 8-bit frames.
///
/// Loaded from a file or taken from frames; then used while it is switched on. Memory of the
/// sensor's size is had only then. Threads: addFrame() and subtract() for the thread that delivers,
/// everything else for any thread. The delivering thread never waits for a cut to be made, except
/// for the one of a dark that it has just completed itself, and for those of frames that show
/// another region than the present one.
class DarkFrame {
 public:
  /// @param width, height of the sensor, pixels
  DarkFrame(int width, int height);

  /// Loads a dark from a file. When the file cannot be opened no dark counts as loaded any more;
  /// after any other failure the dark in use stays.
  DarkFileResult load(const std::string& path);
  /// Saves the dark. @return false without a dark, or when the file cannot be written.
  bool save(const std::string& path);
  /// The file last loaded or saved.
  [[nodiscard]] std::string path() const;
  void setPath(const std::string& path);

  /// Switches subtraction on or off.
  void use(bool on);
  [[nodiscard]] bool isSwitchedOn() const { return on_; }
  /// Whether there is a dark, loaded or taken.
  [[nodiscard]] bool isLoaded() const { return loaded_; }
  /// Whether it is switched on and there is one.
  [[nodiscard]] bool isInUse() const { return on_ && loaded_; }

  /// Follows the camera to another region. The dark is cut now if it is in use, else when it is
  /// switched on.
  void follow(const FrameRegion& region);

  /// Begins to take a dark of so many frames (1 to 5), or ends it before its time.
  void startRecording(int frames);
  void stopRecording();
  /// Whether the last recording was completed.
  [[nodiscard]] bool isRecordingOver() const { return recordingOver_; }
  /// Frames taken and frames wanted of the last recording; 0 and 1 before the first.
  void recordingCount(int& taken, int& wanted) const;

  /// Adds a frame to a recording that is going on. Frames that do not show every sensor pixel are
  /// passed over.
  void addFrame(std::span<const std::uint8_t> frame, int columns, int rows);
  /// Subtracts the dark from a frame, if it is in use. The dark's mean stays, so that noise around
  /// black is not cut off.
  /// @param region that the frame shows; for another one than the present a cut is made for this
  ///        frame alone
  void subtract(std::span<std::uint8_t> frame, const FrameRegion& region) const;

  /// The picture of the whole sensor; null without one.
  using Plane = std::shared_ptr<const PageBuffer>;
  [[nodiscard]] Plane plane() const { return plane_.get(); }
  /// Samples of the cut that are hot (see isHot()), and the cut's mean; 0 without a cut.
  [[nodiscard]] std::size_t hotSampleCount() const;
  [[nodiscard]] std::uint32_t mean() const;

 private:
  struct Cut {
    FrameRegion region;
    std::uint32_t mean = 0;
    std::vector<std::uint32_t> hot;       ///< indices into the region's dark samples
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

  std::mutex changing_;  ///< held while the dark or its cut is replaced
  FrameRegion region_;   ///< guarded by changing_
  Published<PageBuffer> plane_;
  Published<Cut> cut_;

  mutable std::mutex labels_;  ///< guards the two below
  std::string path_;
  std::shared_ptr<DarkRecording> recording_;  ///< the last one; goes on until it is complete
};

}  // namespace orvik
