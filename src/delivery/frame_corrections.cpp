// SPDX-License-Identifier: MIT
#include "delivery/frame_corrections.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "algorithm/binning.h"
#include "algorithm/byte_order.h"
#include "algorithm/flip.h"
#include "algorithm/gamma.h"

namespace orvik {
namespace {

/// The samples that several steps are applied to in turn: they fit into the nearest cache, together
/// with their dark.
constexpr std::size_t kBlockBytes = std::size_t{4} * 1024;
/// The same where the next ones are fetched meanwhile: as many cache lines as a core can wait for.
constexpr std::size_t kFetchedBytes = 1024;
/// What a step does at a time before another one reads all of it, or from which only one reads:
/// fits into the second cache.
constexpr std::size_t kStretchBytes = std::size_t{64} * 1024;

template <class Sample>
Sample* samplesOf(PageBuffer& frame) {
  if constexpr (std::is_same_v<Sample, std::uint16_t>) {
    return frame.words();
  } else {
    return frame.data();
  }
}

template <class Sample>
bool isAligned(std::span<const std::uint8_t> image) {
  return reinterpret_cast<std::uintptr_t>(image.data()) % alignof(Sample) == 0;
}

/// The last index up to `index` at which a cache line begins: vectors that lie across two lines
/// take twice the time.
template <class Sample>
std::size_t alignedStart(const Sample* image, std::size_t index) {
  constexpr std::size_t kLine = 64 / sizeof(Sample);
  const std::size_t start = reinterpret_cast<std::uintptr_t>(image) / sizeof(Sample);
  return index - std::min(index, (start + index) % kLine);
}

/// Fetches samples into the cache while something else is computed.
template <class Sample>
void prefetch(const Sample* samples, std::size_t count) {
  constexpr std::size_t kLine = 64 / sizeof(Sample);
  for (std::size_t i = 0; i < count; i += kLine) __builtin_prefetch(samples + i);
}

template <class Sample>
void bin(const Sample* from, Sample* to, int width, int height, int factor, bool isMosaic) {
  if (isMosaic) {
    binMosaic(from, to, width, height, factor);
  } else {
    binMono(from, to, width, height, factor);
  }
}

}  // namespace

FrameCorrections::FrameCorrections(const FrameFormat& format, CorrectionSteps steps)
    : format_(format), steps_(std::move(steps)) {
  if (!changesPixels()) correctedRows_ = format_.rows();
  if (!steps_.hotSites) isMended_ = true;
}

/// With an odd size, a frame that is flipped differs from an image that is flipped.
bool FrameCorrections::canFlipOutside() const {
  return format_.width % 2 == 0 && format_.height % 2 == 0;
}

void FrameCorrections::makeImage(PageBuffer& frame, std::span<std::uint8_t> image) {
  const auto make = [&]<class Sample>(Sample* samples) {
    if (isAligned<Sample>(image) && (!flips() || canFlipOutside())) {
      makeImageOf(samples, static_cast<Sample*>(static_cast<void*>(image.data())));
    } else {
      completeOf(samples);
      std::memcpy(image.data(), samples, image.size());
    }
  };
  if (format_.is16Bits) {
    make(samplesOf<std::uint16_t>(frame));
  } else {
    make(samplesOf<std::uint8_t>(frame));
  }
}

template <class Sample>
void FrameCorrections::makeImageOf(Sample* frame, Sample* image) {
  // Hot pixels are corrected behind the other steps and before a flip or binning.
  const bool isChanged = format_.hostBin() > 1 || flips();
  if (isChanged && !isMended_) {
    correctPixels(frame, format_.rows());
    mendHotPixels(frame);
  }
  if (format_.hostBin() > 1) {
    binRows(frame, image);
    return;
  }
  copyRows(frame, image, correctedRows_ == 0);
  if (!isMended_) correctHotPixels(image, *steps_.hotSites);
}

/// Copies the frame, flipped.
/// @param corrects whether the steps for single samples are to be done
template <class Sample>
void FrameCorrections::copyRows(const Sample* frame, Sample* image, bool corrects) const {
  const std::size_t samples = format_.samples();
  if (!flips()) {
    // Backwards: the end of the frame has come last, and may still be in a cache.
    const std::size_t block = (corrects ? kFetchedBytes : kStretchBytes) / sizeof(Sample);
    for (std::size_t end = samples; end > 0;) {
      const std::size_t first = alignedStart(image, end - std::min(block, end));
      const std::size_t count = end - first;
      std::memcpy(image + first, frame + first, count * sizeof(Sample));
      end = first;
      if (!corrects) continue;
      const std::size_t next = std::min(block, end);
      prefetch(frame + end - next, next);
      changePixels(image + first, first, count);
    }
    return;
  }
  const int rows = format_.rows();
  const auto columns = static_cast<std::size_t>(format_.columns());
  const auto source = [&](int y) { return indexOf(steps_.flipsVertically ? rows - 1 - y : y); };
  for (int y = 0; y < rows; ++y) {
    const std::size_t from = source(y);
    Sample* const row = image + indexOf(y);
    std::memcpy(row, frame + from, columns * sizeof(Sample));
    if (y + 1 < rows) prefetch(frame + source(y + 1), columns);
    if (corrects) changePixels(row, from, columns);
    if (steps_.flipsHorizontally) flip(row, format_.columns(), 1, false, true);
  }
}

/// Bins the frame, and flips the result, which is smaller. Blocks are of an even number of rows, so
/// that they begin with a whole cell of a mosaic.
template <class Sample>
void FrameCorrections::binRows(Sample* frame, Sample* image) {
  const int factor = format_.hostBin();
  const std::size_t bytesPerRow = format_.rowBytes() * static_cast<std::size_t>(factor);
  const auto most = static_cast<int>(kStretchBytes / bytesPerRow) / 2 * 2;
  const int block = std::max(2, most);
  for (int y = 0; y < format_.height; y += block) {
    const int count = std::min(block, format_.height - y);
    correctPixels(frame, (y + count) * factor);
    bin(frame + indexOf(y * factor), image + static_cast<std::ptrdiff_t>(y) * format_.width,
        format_.width, count, factor, steps_.isMosaic);
  }
  flip(image, format_.width, format_.height, steps_.flipsVertically, steps_.flipsHorizontally);
}

void FrameCorrections::correctRows(PageBuffer& frame, int end) {
  if (!isMended_ || flips() || format_.hostBin() > 1) {
    complete(frame);
    return;
  }
  if (std::min(end, format_.rows()) <= correctedRows_) return;
  end += static_cast<int>(kStretchBytes / format_.rowBytes());
  if (format_.is16Bits) {
    correctPixels(samplesOf<std::uint16_t>(frame), end);
  } else {
    correctPixels(samplesOf<std::uint8_t>(frame), end);
  }
}

void FrameCorrections::complete(PageBuffer& frame) {
  if (format_.is16Bits) {
    completeOf(samplesOf<std::uint16_t>(frame));
  } else {
    completeOf(samplesOf<std::uint8_t>(frame));
  }
}

template <class Sample>
void FrameCorrections::completeOf(Sample* frame) {
  if (isComplete_) return;
  isComplete_ = true;
  correctPixels(frame, format_.rows());
  if (!isMended_) mendHotPixels(frame);
  flip(frame, format_.columns(), format_.rows(), steps_.flipsVertically, steps_.flipsHorizontally);
  bin(frame, frame, format_.width, format_.height, format_.hostBin(), steps_.isMosaic);
}

/// Does the steps for single samples, in place, up to the row `end`.
template <class Sample>
void FrameCorrections::correctPixels(Sample* frame, int end) {
  end = std::min(end, format_.rows());
  if (end <= correctedRows_) return;
  const std::size_t last = indexOf(end);
  for (std::size_t first = indexOf(correctedRows_); first < last;) {
    const std::size_t count = std::min(kBlockBytes / sizeof(Sample), last - first);
    changePixels(frame + first, first, count);
    first += count;
  }
  correctedRows_ = end;
}

/// @param first index in the frame of the first of the samples
/// @param count at most a row or a block
template <class Sample>
void FrameCorrections::changePixels(Sample* samples, std::size_t first, std::size_t count) const {
  const auto length = static_cast<int>(count);
  if constexpr (std::is_same_v<Sample, std::uint16_t>) {
    if (steps_.swapsBytes) swapBytes({samples, count});
    if (steps_.gamma) applyTable(samples, steps_.gamma->table16.data(), length, 1);
  } else {
    if (steps_.dark) steps_.dark.apply({samples, count}, first);
    if (steps_.gamma) applyTable(samples, steps_.gamma->table8.data(), length, 1);
  }
}

template <class Sample>
void FrameCorrections::mendHotPixels(Sample* frame) {
  correctHotPixels(frame, *steps_.hotSites);
  isMended_ = true;
}

}  // namespace orvik
