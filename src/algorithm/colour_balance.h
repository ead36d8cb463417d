// SPDX-License-Identifier: MIT
/// Automatic white balance: measures the colour of a frame and derives the next balance.
///
/// A frame is divided into 16 x 16 blocks. A block with edges and patterns shows something in all
/// three colours; a uniform block may be the blue of the sky. So the mean of each block is weighted
/// with the deviation of its samples from it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "algorithm/raw_frame.h"
#include "algorithm/white_balance.h"
#include "orvik/orvik.h"

namespace orvik {

/// One value for each colour.
struct ColourValues {
  int red = 0;
  int green = 0;
  int blue = 0;
  friend bool operator==(const ColourValues&, const ColourValues&) = default;
};

/// A rectangle of a frame, in samples.
struct FrameBlock {
  int column = 0;
  int row = 0;
  int width = 0;
  int height = 0;
};

/// The statistics of a block. They are taken at 10 x 10 points over the block: at each point the
/// 2 x 2 cell of a mosaic that begins there, or the pixel of a colour image. Points and samples
/// beyond the frame are left out.
struct BlockColours {
  /// Sum of the samples divided by their number plus one, truncated; scaled as binning on the host
  /// will scale it, to at most 255.
  ColourValues mean;
  /// Sum of the distances from the mean before that scaling, divided by the number of samples plus
  /// one.
  ColourValues deviation;
};

/// Stores the statistics of a block where the class interface of the cameras expects them.
/// @param deviations, means of red, green and blue; a deviation that holds 0 was not asked for and
///   stays 0
void storeBlock(const BlockColours& block, const std::array<int*, 3>& deviations,
                const std::array<int*, 3>& means);

/// @param frame 8-bit mosaic
/// @param pattern of its top left cell; one of the four
/// @param hostBin bin factor that the host applies later by adding up samples
[[nodiscard]] BlockColours mosaicBlock(const RawFrame& frame, BayerPattern pattern,
                                       const FrameBlock& block, int hostBin);

/// The colour of a whole frame, 0 to 255: the mean of each colour over the blocks, weighted with
/// its deviation in each. If the deviation is 0 in all blocks, they weigh the same.
/// @param frame, pattern, hostBin as for mosaicBlock()
/// @return nothing for an empty frame.
[[nodiscard]] std::optional<ColourValues> mosaicColour(const RawFrame& frame, BayerPattern pattern,
                                                       int hostBin);

/// The same for a colour image.
/// @param bgr columns * rows pixels of three bytes: blue, green, red
/// @param hostBin as for mosaicBlock()
[[nodiscard]] BlockColours imageBlock(const std::uint8_t* bgr, int columns, int rows,
                                      const FrameBlock& block, int hostBin);
[[nodiscard]] std::optional<ColourValues> imageColour(const std::uint8_t* bgr, int columns,
                                                      int rows, int hostBin);

/// The balance that would make red and blue equal to green in one step. A value below 5 that must
/// rise always rises, although the division may round it back.
/// @param colour of a frame that was taken with `balance`
/// @param brightnessChanges exposure or gain is automatic: colours within 10 of green are then good
///   enough, otherwise within 4
/// @return nothing when the colours are good enough. Not limited to the range of any camera.
[[nodiscard]] std::optional<WhiteBalance> nextBalance(const ColourValues& colour,
                                                      WhiteBalance balance, bool brightnessChanges);

}  // namespace orvik
