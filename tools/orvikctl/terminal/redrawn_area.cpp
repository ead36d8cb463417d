// SPDX-License-Identifier: MIT
#include "tools/orvikctl/terminal/redrawn_area.h"

namespace orvik::ctl {
namespace {

constexpr const char* kSaveCursor = "\0337";
constexpr const char* kRestoreCursor = "\0338";
constexpr const char* kClearToEndOfLine = "\033[K";
constexpr const char* kClearBelow = "\033[J";

std::string moved(std::size_t count, char direction) {
  return count == 0 ? "" : "\033[" + std::to_string(count) + direction;
}

}  // namespace

std::string RedrawnArea::draw(const std::vector<std::string>& lines,
                              const std::optional<Graphics>& graphics) {
  std::string text = moved(drawnLines_, 'A');
  if (graphics && drawnLines_ > 0) text += graphics->removal;
  for (const std::string& line : lines) {
    // Cleared before: behind a line as wide as the terminal this would take its last character.
    text.append("\r").append(kClearToEndOfLine).append(line).append("\n");
  }
  if (lines.size() < drawnLines_) text += kClearBelow;
  if (graphics) {
    text += kSaveCursor;
    text += moved(lines.size() - static_cast<std::size_t>(graphics->row), 'A');
    text += moved(static_cast<std::size_t>(graphics->column), 'C');
    text.append(graphics->sequence).append(kRestoreCursor);
  }
  drawnLines_ = lines.size();
  return text;
}

}  // namespace orvik::ctl
