// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "imaging/stars/brightest_object.h"
#include "orvik/orvik.hpp"
#include "tools/orvikctl/recording/tracker.h"

namespace orvik::ctl {

/// Keeps the region of a video on the brightest object, and writes down where it was in each frame.
///
/// The region moves while the video runs, which costs no frame: the sensor takes the new start with
/// one of the next frames, and each frame knows its own.
class Tracking {
 public:
  /// A table beside a recording: number and UTC of the frame, start of its region, place of the
  /// object in it; comma-separated with a line of titles.
  /// @param log its file, "" for none
  /// @param overwrite whether an existing one may be replaced
  /// @throws imaging::FileError
  Tracking(const std::filesystem::path& log, bool overwrite);

  /// The video is about to begin, for the first time or after the camera has come back: then the
  /// region goes to where it was. @throws Error
  void begin(Camera& camera);

  /// Takes a frame into account, and moves the region if need be.
  void follow(Camera& camera, const Frame& frame);

  /// How often the region was moved.
  [[nodiscard]] int moves() const { return moves_; }
  /// Frames in which nothing stood out.
  [[nodiscard]] std::int64_t framesWithout() const { return framesWithout_; }

  /// Completes the table. @throws imaging::FileError
  void finish();

 private:
  void write(const FrameInfo& frame, const std::optional<Tracker::Place>& place);

  imaging::BrightestObject object_;
  std::optional<Tracker> tracker_;
  std::optional<RegionStart> movedTo_;
  std::filesystem::path logFile_;
  std::ofstream log_;
  std::int64_t frames_ = 0;
  std::int64_t framesWithout_ = 0;
  int moves_ = 0;
};

}  // namespace orvik::ctl
