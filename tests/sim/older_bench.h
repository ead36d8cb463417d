// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "sim/bench.h"

namespace orvik::test {

/// What an older camera's sensor can be set to.
enum class Setting : std::uint8_t {
  kFirstRow,
  kFirstColumn,
  kRows,
  kColumns,
  kFrameLines,
  kLineCycles,
  kExposureLines,
  kGain,
  kRedGain,
  kBlueGain,
  kBlackLevel,
};

/// What an older camera is programmed to, in the terms of its registers.
struct OlderProgram {
  int x = 0;
  int y = 0;
  int columns = 64;
  int rows = 48;
  int frameLines = 1000;
  int lineCycles = 1400;
  int exposureLines = 100;
  bool wide = false;

  [[nodiscard]] std::size_t frameBytes() const {
    return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * (wide ? 2U : 1U);
  }
  [[nodiscard]] seam::Clock::Duration frameTime(int kilohertz = 24000) const {
    return seam::Clock::Duration{std::int64_t{frameLines} * lineCycles * 1000000 / kilohertz};
  }
  /// How long the rows of a frame take to come.
  [[nodiscard]] seam::Clock::Duration readoutTime() const {
    return frameTime() / frameLines * rows;
  }
};

/// An older camera on a host, opened, with its interface claimed. One of 16-bit sensor registers,
/// or, for a T02C, one whose sensor takes commands.
class OlderBench : public Bench {
 public:
  explicit OlderBench(const char* model, const sim::CameraOptions& options = {});

  void word(int address, int value) { out(0xA6, address, value); }
  int wordAt(int address);

  /// Writes a command and polls until it has been carried out. @return the polls that took
  int command(int code);
  void writeVariable(int address, int value);
  int variable(int address);
  /// Takes over what was written.
  void changeConfiguration();

  /// Writes one setting, in whatever way the sensor takes it, and has it take effect.
  void set(Setting setting, int value);

  void program(const OlderProgram& program);
  /// The sensor's own start and stop; the bridge's are 0xA9 and 0xAA.
  void runSensor(bool run);
  void start(const OlderProgram& program);

 private:
  bool takesCommands_;
};

/// Whether a frame ends in the older cameras' mark.
bool hasTrailer(const Bytes& frame);

/// A camera that exposes at free pace, without noise.
sim::CameraOptions idealOptions();

}  // namespace orvik::test
