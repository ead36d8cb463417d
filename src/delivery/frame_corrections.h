// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "algorithm/hot_sites.h"
#include "base/page_buffer.h"
#include "delivery/dark_frame.h"
#include "state/frame_format.h"

namespace orvik {

/// The tables of one gamma value.
struct GammaTables {
  std::array<std::uint8_t, 256> table8;
  std::array<std::uint16_t, 65536> table16;
};

/// What is done to the samples of one frame, in this order. It stays the same for this frame when
/// settings change.
struct CorrectionSteps {
  bool swapsBytes = false;                   ///< 16-bit samples come with their high byte first
  DarkFrame::Subtraction dark;               ///< of 8-bit frames
  std::shared_ptr<const GammaTables> gamma;  ///< null if linear
  std::shared_ptr<const HotSites> hotSites;  ///< of the frame's region; null for no correction
  bool flipsHorizontally = false;
  bool flipsVertically = false;
  bool isMosaic = false;  ///< binning keeps the colours apart
};

/// Corrects one frame, and goes through memory as seldom as possible: the last step that concerns
/// all samples writes into the caller's image, and steps that look at one sample at a time are done
/// in the same pass, block by block in the processor's cache.
///
/// The memory of the frame is given to each call, and must be that of the same frame. One thread at
/// a time.
class FrameCorrections {
 public:
  FrameCorrections(const FrameFormat& format, CorrectionSteps steps);

  /// Makes the image of a type that shows the samples as they are.
  /// @param frame left half-done: complete() does the rest
  /// @param image as many bytes as the image has
  void makeImage(PageBuffer& frame, std::span<std::uint8_t> image);

  /// Does all steps for the first rows of the frame, in place, unless that has been done: before a
  /// conversion reads them. Where that is needed, all rows are corrected.
  /// @param end the row behind the last one; may lie beyond the frame
  void correctRows(PageBuffer& frame, int end);

  /// Does all steps in place that have not been done in place.
  void complete(PageBuffer& frame);

 private:
  template <class Sample>
  void makeImageOf(Sample* frame, Sample* image);
  template <class Sample>
  void copyRows(const Sample* frame, Sample* image, bool corrects) const;
  template <class Sample>
  void binRows(Sample* frame, Sample* image);
  template <class Sample>
  void completeOf(Sample* frame);
  template <class Sample>
  void correctPixels(Sample* frame, int end);
  template <class Sample>
  void changePixels(Sample* samples, std::size_t first, std::size_t count) const;
  template <class Sample>
  void mendHotPixels(Sample* frame);

  [[nodiscard]] bool changesPixels() const {
    return steps_.swapsBytes || steps_.dark || steps_.gamma != nullptr;
  }
  [[nodiscard]] bool flips() const { return steps_.flipsHorizontally || steps_.flipsVertically; }
  [[nodiscard]] bool canFlipOutside() const;
  [[nodiscard]] std::size_t indexOf(int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(format_.columns());
  }

  FrameFormat format_;
  CorrectionSteps steps_;

  // What has been done in place.
  int correctedRows_ = 0;  ///< of all steps before the hot pixels
  bool isMended_ = false;
  bool isComplete_ = false;
};

}  // namespace orvik
