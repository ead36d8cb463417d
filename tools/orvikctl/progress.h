// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace orvik::ctl {

/// The progress of long work.
struct ProgressState {
  std::int64_t done = 0;              ///< frames
  std::optional<std::int64_t> total;  ///< frames; nothing if the end is open
  std::optional<double> rate;         ///< frames a second
  std::optional<std::int64_t> lost;   ///< frames; nothing where none can be lost
  std::optional<double> secondsLeft;
};

/// "12/100 frames, 30.1 frames/s, 0 lost, 0:03 left"; unknown parts are left out.
std::string progressText(const ProgressState& state);

/// One line of standard error that is rewritten in place; silent where that is no terminal.
class ProgressLine {
 public:
  /// @param wanted false keeps it silent in any case
  explicit ProgressLine(bool wanted);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Shows a text, at most five times a second.
  void show(const std::string& text);
  /// Wipes the line, so that other text can be written.
  void wipe();

 private:
  bool visible_;
  bool lineHasText_ = false;
  std::chrono::steady_clock::time_point next_;
};

/// The progress of a capture on such a line.
class Progress {
 public:
  explicit Progress(bool wanted) : line_(wanted) {}

  void show(const ProgressState& state) { line_.show(progressText(state)); }
  void wipe() { line_.wipe(); }

 private:
  ProgressLine line_;
};

}  // namespace orvik::ctl
