// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "orvik/orvik.h"
#include "orvik/orvik.hpp"
#include "tools/orvikctl/selftest/frame_buffer.h"

namespace orvik::ctl::selftest {

/// The conditions under which a camera is tested.
struct Conditions {
  bool quick = false;     ///< fewer repetitions
  bool keepsTime = true;  ///< false for a virtual camera that sends frames as fast as it can
  int timeoutMs = 10000;  ///< timeout for anything that should take little time
  std::filesystem::path scratch;  ///< a folder for files of the run
};

/// Counts the milliseconds since it was made.
class StopWatch {
 public:
  [[nodiscard]] double milliseconds() const {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_)
        .count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// The camera under test: what is known of it, and steps that many checks take.
///
/// Checks call the library themselves wherever the call is what they are about. Methods throw a
/// CheckFailure when the library does not do as it should.
class Subject {
 public:
  /// @param index of the camera in the library's list; @param second another camera, if any
  Subject(int index, std::optional<int> second, Conditions conditions);
  /// Closes the camera.
  ~Subject();
  Subject(const Subject&) = delete;
  Subject& operator=(const Subject&) = delete;

  /// Opens the camera if it is closed, and brings it into a known state: nothing runs, guide lines
  /// and cooler are off, no dark is subtracted, every control has its default and is not automatic,
  /// and the format is small().
  void settle();

  [[nodiscard]] int index() const { return index_; }
  [[nodiscard]] std::optional<int> second() const { return second_; }
  [[nodiscard]] const Conditions& conditions() const { return conditions_; }

  /// What the camera says of itself.
  [[nodiscard]] Orvik_CAMERA_INFO info() const;
  /// Its controls, in its own order.
  [[nodiscard]] std::vector<Orvik_CONTROL_CAPS> controls() const;
  /// The record of a control; throws CheckSkipped if the camera does not offer it.
  [[nodiscard]] Orvik_CONTROL_CAPS control(Orvik_CONTROL_TYPE type) const;

  [[nodiscard]] ControlValue value(Orvik_CONTROL_TYPE type) const;
  void set(Orvik_CONTROL_TYPE type, std::int32_t value) const;
  /// Sets the exposure, or the nearest that the camera offers. @return it, microseconds
  std::int32_t setExposure(std::int64_t microseconds) const;

  /// A format that every camera has room for at every bin.
  static ImageFormat small(int bin = 1, IMG_TYPE type = Orvik_IMG_RAW8);
  /// The largest format at a bin.
  [[nodiscard]] ImageFormat full(int bin = 1, IMG_TYPE type = Orvik_IMG_RAW8) const;
  void setFormat(const ImageFormat& format) const;
  [[nodiscard]] ImageFormat format() const;

  void startVideo() const;
  void stopVideo() const;
  /// Reads the next frame of the video; it comes within the timeout and fills its buffer.
  void readFrame(FrameBuffer& frame) const;
  /// One frame of a video begun and ended for it, in the format that is set.
  [[nodiscard]] FrameBuffer takeFrame() const;

  [[nodiscard]] Orvik_EXPOSURE_STATUS exposureStatus() const;
  /// Waits until a snapshot is no longer being exposed. @return its status then
  [[nodiscard]] Orvik_EXPOSURE_STATUS waitForExposure(std::int64_t exposureUs) const;

 private:
  int index_;
  std::optional<int> second_;
  Conditions conditions_;
};

/// "128x96 bin 2 raw16".
std::string formatText(const ImageFormat& format);

}  // namespace orvik::ctl::selftest
