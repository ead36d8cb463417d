// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "seam/clock.h"
#include "sim/frame_settings.h"

namespace orvik::sim {

/// When the rows of one frame leave the board: one row per line, at the end of its line.
class RowClock {
 public:
  using Duration = seam::Clock::Duration;

  RowClock() = default;
  /// @param begins when the line of the first row does
  RowClock(const FrameSettings& settings, Duration begins)
      : line_(settings.lineTime()), begins_(begins) {
    measure(settings);
  }

  /// Continues with other settings. Rows that have come stay; a row in progress starts again.
  void change(const FrameSettings& settings, Duration now) {
    line_ = settings.lineTime();
    begins_ = now - line_ * row_;
    measure(settings);
  }

  [[nodiscard]] int row() const { return row_; }
  [[nodiscard]] bool done() const { return row_ >= rows_; }
  /// When row `row` has come.
  [[nodiscard]] Duration endOf(int row) const { return begins_ + line_ * (row + 1); }
  [[nodiscard]] Duration end() const { return endOf(rows_ - 1); }
  [[nodiscard]] Duration line() const { return line_; }

  /// How many rows have come by `now` since the last call of pass(), `most` at most.
  [[nodiscard]] int due(Duration now, int most) const {
    const auto passed = now < begins_ ? 0 : (now - begins_) / line_;
    return static_cast<int>(
        std::clamp<std::int64_t>(passed - row_, 0, std::min(most, rows_ - row_)));
  }
  void pass(int rows) { row_ += rows; }

  [[nodiscard]] std::size_t rowBytes() const { return rowBytes_; }

 private:
  void measure(const FrameSettings& settings) {
    rows_ = settings.rows;
    rowBytes_ = settings.bytes() / static_cast<std::size_t>(settings.rows);
  }

  Duration line_{1};
  Duration begins_{};
  int row_ = 0;  ///< that comes next
  int rows_ = 0;
  std::size_t rowBytes_ = 0;
};

}  // namespace orvik::sim
