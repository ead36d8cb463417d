// SPDX-License-Identifier: MIT
#pragma once

#include "sim/hardware/register_sensor.h"
#include "sim/hardware/sensor_board.h"
#include "sim/hardware/shutter_logic.h"

namespace orvik::sim {

/// A sensor of 16-bit registers with its clock, a little logic, and the bridge's choice of what to
/// take of each sample: 8 bits, or 16 with the high byte first.
///
/// With an exposure of 0 lines the sensor integrates while the shutter is open, and sends one frame
/// when it closes.
class RegisterBoard final : public SensorBoard {
 public:
  explicit RegisterBoard(const Model& model)
      : format_(model.sensor), choosesOutput_(model.features.wideOutput), sensor_(model) {}

  bool command(std::uint8_t request, std::uint16_t value, std::uint16_t index) override;
  std::optional<std::size_t> answer(std::uint8_t request, std::uint16_t value,
                                    std::span<std::uint8_t> room) override;
  [[nodiscard]] bool holds(std::uint8_t request, std::uint16_t address) const override;
  [[nodiscard]] RunMode runMode() const override;
  [[nodiscard]] bool shutterOpen() const override { return logic_.shutterOpen(); }
  [[nodiscard]] std::optional<FrameSettings> frameSettings() const override;

 private:
  /// The requests for clock and depth, of the boards that have the choice.
  bool chooseOutput(std::uint8_t request);
  [[nodiscard]] SelfTimed sensorState() const;

  const SensorFormat format_;
  const bool choosesOutput_;
  RegisterSensor sensor_;
  ShutterLogic logic_;
  bool fastClock_ = false;
  bool wide_ = false;
};

}  // namespace orvik::sim
