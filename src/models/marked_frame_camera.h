// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "models/marked_timing.h"
#include "models/model_camera.h"

namespace orvik {

/// One step of a sensor's initialisation: a register write, or a sleep of `value` milliseconds.
struct InitStep {
  static constexpr std::uint16_t kSleep = 0xFFFF;
  std::uint16_t address;
  std::uint16_t value;
};

/// The facts of a marked-frame model that are not in its ModelRow.
struct MarkedFacts {
  std::span<const InitStep> initTable;
  bool keepsSensorAwake = false;  ///< after a capture
};

/// The family of the models whose FPGA marks each frame: 8-bit registers in sensor and FPGA, and
/// the resulting read-out and timing.
/// @tparam Base Camera, or the cooled camera that derives from it
template <class Base>
class MarkedFrameCamera : public ModelCamera<Base> {
 public:
  using Facts = MarkedFacts;
  using Base::isOpen;
  using Base::link;
  using Base::lockSettings;
  using Base::model;
  using Base::state;

  void writeRegionSize() override;
  void selectClock() override;
  /// An unknown frequency is accepted as it is.
  bool selectClock(int khz) override;
  void setSampleDepth(bool on) override;
  [[nodiscard]] int converterBits() const override;

 protected:
  MarkedFrameCamera(const ModelRow& row, const MarkedFacts& facts);

  void startSensor() override;
  void writeStartPosition() override;
  void writeGain() override;
  bool writeBrightness() override;
  void writeWhiteBalance() override;
  void writeLineLength() override;
  bool writeExposure() override;
  [[nodiscard]] LineLimits lineLimits() const override;

 private:
  using ModelCamera<Base>::binsOnSensor;

  void playInitTable();
  void followHostPort();
  void useClock(const marked::SensorClock& clock);
  void followLongExposure();
  void writeFpgaPair(std::uint16_t address, int value);
  void writeSensorPair(std::uint16_t address, int value);

  const MarkedFacts& facts_;
  std::atomic<int> minLineLength_{0};    ///< clock cycles, of the present clock
  std::atomic<int> bytesPerPercent_{0};  ///< capacity of the port
};

}  // namespace orvik
