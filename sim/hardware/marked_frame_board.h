// SPDX-License-Identifier: MIT
#pragma once

#include "sim/hardware/fpga.h"
#include "sim/hardware/sensor.h"
#include "sim/hardware/sensor_board.h"

namespace orvik::sim {

/// A sensor of byte registers, and the FPGA that times it and marks its frames.
class MarkedFrameBoard final : public SensorBoard {
 public:
  explicit MarkedFrameBoard(const Model& model) : format_(model.sensor), sensor_(model) {}

  bool command(std::uint8_t request, std::uint16_t value, std::uint16_t index) override;
  std::optional<std::size_t> answer(std::uint8_t request, std::uint16_t value,
                                    std::span<std::uint8_t> room) override;
  [[nodiscard]] bool holds(std::uint8_t request, std::uint16_t address) const override;
  [[nodiscard]] RunMode runMode() const override;
  [[nodiscard]] bool shutterOpen() const override { return fpga_.shutterOpen(); }
  [[nodiscard]] std::optional<FrameSettings> frameSettings() const override;

 private:
  const SensorFormat format_;
  Sensor sensor_;
  Fpga fpga_;
};

}  // namespace orvik::sim
