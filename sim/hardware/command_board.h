// SPDX-License-Identifier: MIT
#pragma once

#include "sim/hardware/command_sensor.h"
#include "sim/hardware/sensor_board.h"
#include "sim/hardware/shutter_logic.h"

namespace orvik::sim {

/// A sensor with a processor of its own and a little logic. Frames have 8 bits a sample; with an
/// exposure of 0 lines one comes when the shutter closes. The processor sends whole lines, so that
/// the logic need not know how long they are.
class CommandBoard final : public SensorBoard {
 public:
  explicit CommandBoard(const Model& model) : format_(model.sensor), sensor_(model) {}

  bool command(std::uint8_t request, std::uint16_t value, std::uint16_t index) override;
  std::optional<std::size_t> answer(std::uint8_t request, std::uint16_t value,
                                    std::span<std::uint8_t> room) override;
  [[nodiscard]] bool holds(std::uint8_t request, std::uint16_t address) const override;
  [[nodiscard]] RunMode runMode() const override;
  [[nodiscard]] bool shutterOpen() const override { return logic_.shutterOpen(); }
  [[nodiscard]] std::optional<FrameSettings> frameSettings() const override;

 private:
  static constexpr int kKilohertz = 24000;

  const SensorFormat format_;
  CommandSensor sensor_;
  ShutterLogic logic_;
};

}  // namespace orvik::sim
