// SPDX-License-Identifier: MIT
#include "tools/orvikctl/terminal/picture_text.h"

#include <chafa.h>

#include <algorithm>
#include <memory>
#include <sstream>

namespace orvik::ctl {
namespace {

template <auto Function>
struct Calls {
  template <typename Object>
  void operator()(Object* object) const {
    Function(object);
  }
};
using Config = std::unique_ptr<ChafaCanvasConfig, Calls<chafa_canvas_config_unref>>;
using Canvas = std::unique_ptr<ChafaCanvas, Calls<chafa_canvas_unref>>;
using Symbols = std::unique_ptr<ChafaSymbolMap, Calls<chafa_symbol_map_unref>>;
using TermInfo = std::unique_ptr<ChafaTermInfo, Calls<chafa_term_info_unref>>;

ChafaCanvasMode canvasMode(Colours colours) {
  switch (colours) {
    case Colours::kTrue:
      return CHAFA_CANVAS_MODE_TRUECOLOR;
    case Colours::k256:
      return CHAFA_CANVAS_MODE_INDEXED_240;
    case Colours::k16:
      return CHAFA_CANVAS_MODE_INDEXED_16;
    case Colours::kNone:
      break;
  }
  return CHAFA_CANVAS_MODE_FGBG;
}

ChafaPixelMode pixelMode(PictureMode mode) {
  if (mode == PictureMode::kSixel) return CHAFA_PIXEL_MODE_SIXELS;
  return mode == PictureMode::kKitty ? CHAFA_PIXEL_MODE_KITTY : CHAFA_PIXEL_MODE_SYMBOLS;
}

Symbols symbolsOf(PictureMode mode) {
  Symbols symbols(chafa_symbol_map_new());
  const auto blocks = mode == PictureMode::kHalf ? CHAFA_SYMBOL_TAG_VHALF : CHAFA_SYMBOL_TAG_BLOCK;
  for (const auto tag : {CHAFA_SYMBOL_TAG_SPACE, CHAFA_SYMBOL_TAG_SOLID, blocks}) {
    chafa_symbol_map_add_by_tags(symbols.get(), tag);
  }
  return symbols;
}

/// Blue, green, red and opacity. The library takes three bytes a pixel as well, but then shears
/// pictures whose rows are no multiple of four bytes.
std::vector<std::uint8_t> opaquePixels(const Picture& picture, Colours colours) {
  // Without colours a dark grey sky would become a pattern in which no star is seen, and a star
  // that is less than white would not be drawn.
  const bool isPlain = colours == Colours::kNone;
  const int black = isPlain ? 96 : 0;
  const int white = isPlain ? 180 : 255;
  const auto shown = [=](int value) {
    return static_cast<std::uint8_t>((std::clamp(value, black, white) - black) * 255 /
                                     (white - black));
  };
  const std::size_t step = picture.isColour ? 3 : 1;
  std::vector<std::uint8_t> pixels;
  pixels.reserve(picture.pixels.size() / step * 4);
  for (std::size_t i = 0; i + step <= picture.pixels.size(); i += step) {
    const std::uint8_t* const from = picture.pixels.data() + i;
    pixels.insert(pixels.end(),
                  {shown(from[0]), shown(from[step / 2]), shown(from[step - 1]), 255});
  }
  return pixels;
}

/// A terminal that knows all sequences which the modes need: whether they are used is decided
/// elsewhere.
TermInfo termInfo() {
  return TermInfo(chafa_term_db_get_fallback_info(chafa_term_db_get_default()));
}

}  // namespace

PictureMode bestMode(const TerminalKind& kind) {
  if (kind.kitty) return PictureMode::kKitty;
  if (kind.sixel) return PictureMode::kSixel;
  return kind.colours == Colours::kNone ? PictureMode::kBlocks : PictureMode::kHalf;
}

imaging::Size pixelsOf(PictureMode mode, const TerminalSize& place) {
  if (isGraphics(mode)) return {place.columns * place.cellWidth, place.rows * place.cellHeight};
  if (mode == PictureMode::kHalf) return {place.columns, 2 * place.rows};
  return {2 * place.columns, 2 * place.rows};  // quarters of characters
}

PictureText textOf(const Picture& picture, PictureMode mode, Colours colours,
                   const TerminalSize& place) {
  PictureText text;
  text.columns = std::max(place.columns, 1);
  text.rows = std::max(place.rows, 1);
  const float ratio = static_cast<float>(place.cellWidth) / static_cast<float>(place.cellHeight);
  chafa_calc_canvas_geometry(picture.size.width, picture.size.height, &text.columns, &text.rows,
                             ratio, TRUE, FALSE);
  const Config config(chafa_canvas_config_new());
  chafa_canvas_config_set_geometry(config.get(), text.columns, text.rows);
  chafa_canvas_config_set_cell_geometry(config.get(), place.cellWidth, place.cellHeight);
  chafa_canvas_config_set_canvas_mode(config.get(), canvasMode(colours));
  chafa_canvas_config_set_pixel_mode(config.get(), pixelMode(mode));
  chafa_canvas_config_set_preprocessing_enabled(config.get(), FALSE);
  if (colours == Colours::kNone) {
    // Greys become patterns of quarters of a character.
    chafa_canvas_config_set_dither_mode(config.get(), CHAFA_DITHER_MODE_DIFFUSION);
    chafa_canvas_config_set_dither_grain_size(config.get(), 4, 4);
  }
  const Symbols symbols = symbolsOf(mode);
  chafa_canvas_config_set_symbol_map(config.get(), symbols.get());

  const std::vector<std::uint8_t> pixels = opaquePixels(picture, colours);
  const Canvas canvas(chafa_canvas_new(config.get()));
  chafa_canvas_draw_all_pixels(canvas.get(), CHAFA_PIXEL_BGRA8_UNASSOCIATED, pixels.data(),
                               picture.size.width, picture.size.height, 4 * picture.size.width);
  const TermInfo info = termInfo();
  const std::unique_ptr<GString, decltype([](GString* string) { g_string_free(string, TRUE); })>
      printed(chafa_canvas_print(canvas.get(), info.get()));
  std::string all(printed->str, printed->len);
  if (isGraphics(mode)) {
    text.graphics = std::move(all);
    if (mode == PictureMode::kKitty) text.removal = "\033_Ga=d\033\\";
    return text;
  }
  std::istringstream stream(all);
  for (std::string line; std::getline(stream, line);) text.lines.push_back(line);
  return text;
}

}  // namespace orvik::ctl
