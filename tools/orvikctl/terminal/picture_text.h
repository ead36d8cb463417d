// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "imaging/view/image_source.h"
#include "tools/orvikctl/terminal/terminal.h"

namespace orvik::ctl {

/// How a picture is drawn in a terminal.
enum class PictureMode {
  kHalf,    ///< half blocks: two pixels a cell
  kBlocks,  ///< the block character that comes nearest
  kSixel,   ///< sixel graphics
  kKitty,   ///< graphics of the kitty protocol
};

/// Whether a mode draws pixels of the screen instead of characters.
constexpr bool isGraphics(PictureMode mode) {
  return mode == PictureMode::kSixel || mode == PictureMode::kKitty;
}

/// The best mode for a terminal.
PictureMode bestMode(const TerminalKind& kind);

/// A picture of 8 bits: a byte a pixel, or blue, green and red.
struct Picture {
  std::span<const std::uint8_t> pixels;
  imaging::Size size;
  bool isColour = false;
};

/// A picture as text.
struct PictureText {
  int columns = 0;
  int rows = 0;
  std::vector<std::string> lines;  ///< of the modes that draw characters, `columns` wide
  std::string graphics;            ///< of the others: what draws it at the cursor
  std::string removal;             ///< what removes such graphics, where nothing overwrites them
};

/// Makes text of a picture, as large as it fits and with its proportions.
///
/// @param place the largest size, in cells, and the size of a cell in pixels
PictureText textOf(const Picture& picture, PictureMode mode, Colours colours,
                   const TerminalSize& place);

/// Pixels of a picture that such a place can show.
imaging::Size pixelsOf(PictureMode mode, const TerminalSize& place);

}  // namespace orvik::ctl
