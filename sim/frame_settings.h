// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "seam/clock.h"
#include "sim/sensor_format.h"

namespace orvik::sim {

/// The marks that replace samples at the ends of a frame, by which the host recognises a complete
/// frame.
enum class Marks : std::uint8_t {
  kFourWords,  ///< 0x5A7E and a sequence number; sequence number and 0x3CF0
  kTrailer,    ///< 0xBB00AA11 in the last four bytes
};

constexpr std::size_t bytesOf(Marks marks) { return marks == Marks::kFourWords ? 8 : 4; }

/// What is wrong with the picture of a sensor whose analogue parts are not trimmed.
struct Flaws {
  bool reference = false;  ///< all samples lie far too high
  bool columns = false;    ///< each column has an offset of its own
  bool converter = false;  ///< only a part of the converter's range is used

  friend bool operator==(const Flaws&, const Flaws&) = default;
};

/// All that decides what a frame looks like and how long it takes, as decoded from a camera's
/// registers at the moment the frame begins.
struct FrameSettings {
  Area area;        ///< sensor pixels read out
  int bin = 1;      ///< sensor pixels per side that make one sample, on the sensor or in the FPGA
  int columns = 0;  ///< samples in a row delivered
  int rows = 0;

  double amplification = 1;    ///< before the converter
  int blackLevel = 0;          ///< steps of a 12-bit sample
  int converterBits = 12;      ///< of the sensor's converter, 10 or 12
  int linkBits = 12;           ///< width of a sample as the FPGA takes it from the sensor, 10 or 12
  bool wideOutput = false;     ///< two bytes a sample instead of one
  bool highByteFirst = false;  ///< of the two
  Marks marks = Marks::kFourWords;
  /// Of the four samples of a mosaic cell, row by row, in 1/128.
  std::array<std::uint8_t, 4> cellGains = {128, 128, 128, 128};

  int lines = 1;  ///< of a frame; its rows are the last of them
  seam::Clock::Duration frameTime{};
  seam::Clock::Duration exposure{};
  double celsius = 20;  ///< of the sensor
  Flaws flaws;

  [[nodiscard]] std::size_t bytes() const {
    return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) *
           (wideOutput ? 2U : 1U);
  }

  [[nodiscard]] seam::Clock::Duration lineTime() const {
    return std::max(frameTime / lines, seam::Clock::Duration{1});
  }

  friend bool operator==(const FrameSettings&, const FrameSettings&) = default;
};

enum class RunMode : std::uint8_t {
  kStopped,
  kFreeRunning,  ///< one frame after another
  kTriggered,    ///< one frame each time the shutter signal ends
};

/// What a camera is doing at present.
struct CaptureState {
  RunMode mode = RunMode::kStopped;
  bool bridgeStreams = false;  ///< the bridge passes on what comes from the board
  bool shutterOpen = false;    ///< meaningful in triggered mode
  /// None while the registers contradict each other, so that there is no frame.
  std::optional<FrameSettings> settings;
};

}  // namespace orvik::sim
