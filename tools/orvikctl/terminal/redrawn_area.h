// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orvik::ctl {

/// Graphics that are drawn over lines, from the upper left corner of a cell on.
struct Graphics {
  int row = 0;
  int column = 0;
  std::string sequence;  ///< what draws them at the cursor
  std::string removal;   ///< what removes those drawn before
};

/// The lines at the cursor of a terminal, which are drawn anew in place.
class RedrawnArea {
 public:
  /// The text that draws the lines over those drawn before. The lines have to fit the terminal's
  /// width and height.
  std::string draw(const std::vector<std::string>& lines,
                   const std::optional<Graphics>& graphics = std::nullopt);

 private:
  std::size_t drawnLines_ = 0;
};

}  // namespace orvik::ctl
