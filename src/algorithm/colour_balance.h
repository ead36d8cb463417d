// SPDX-License-Identifier: MIT
/// Automatic white balance: what colour a frame has, and the next balance.
///
/// A frame is seen as 16 x 16 blocks. Where something happens in a block, in its edges and
/// patterns, there is something to see in all three colours; an even block may be the blue of the
/// sky. So the means of the blocks are weighted with how much their samples deviate from them.
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

/// What the samples of a block have in common: 10 x 10 points over the block, at each the 2 x 2
/// cell of a mosaic that begins there, or the pixel of a colour image. Points and samples beyond
/// the frame are left out.
struct BlockColours {
  /// Sum of the samples over one more than their number, truncated; after binning on the host, at
  /// most 255.
  ColourValues mean;
  /// Sum of the distances from that mean, without binning, over one more than the samples' number.
  ColourValues deviation;
};

/// Puts the statistics of a block where the cameras' class interface wants them.
/// @param deviations, means of red, green and blue; a deviation that holds 0 is not asked for, and
///   left
void storeBlock(const BlockColours& block, const std::array<int*, 3>& deviations,
                const std::array<int*, 3>& means);

/// @param frame 8-bit mosaic whose top left cell reads as `pattern` says, one of the four
/// @param hostBin bin factor that is left to the host, which adds samples up
[[nodiscard]] BlockColours mosaicBlock(const RawFrame& frame, BayerPattern pattern,
                                       const FrameBlock& block, int hostBin);

/// The colour of a whole frame, 0 to 255: each colour's mean over the blocks, weighted with its
/// deviation in them. A colour that is even everywhere weighs all blocks alike.
/// @param frame, pattern, hostBin as for mosaicBlock()
/// @return none for an empty frame.
[[nodiscard]] std::optional<ColourValues> mosaicColour(const RawFrame& frame, BayerPattern pattern,
                                                       int hostBin);

/// The same for a colour image.
/// @param bgr columns * rows pixels of three bytes: blue, green, red
/// @param hostBin as for mosaicBlock()
[[nodiscard]] BlockColours imageBlock(const uint8_t* bgr, int columns, int rows,
                                      const FrameBlock& block, int hostBin);
[[nodiscard]] std::optional<ColourValues> imageColour(const uint8_t* bgr, int columns, int rows,
                                                      int hostBin);

/// The balance that would bring red and blue to green, in one step. A value below 5 always moves up
/// when it should, however the division rounds.
/// @param colour of a frame that was taken with `balance`
/// @param brightnessChanges exposure or gain are on automatic: colours that are within 10 are good
///   enough then, otherwise within 4
/// @return none when the colours are good enough. Not limited to what a camera can be set to.
[[nodiscard]] std::optional<WhiteBalance> nextBalance(const ColourValues& colour,
                                                      WhiteBalance balance, bool brightnessChanges);

}  // namespace orvik
