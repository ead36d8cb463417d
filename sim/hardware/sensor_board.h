// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "sim/frame_settings.h"
#include "sim/models.h"

namespace orvik::sim {

/// What stands between light and bridge: a sensor with the logic around it. It decodes its own
/// requests and registers; the bridge has seen to it that the sensor has its clock.
class SensorBoard {
 public:
  SensorBoard() = default;
  SensorBoard(const SensorBoard&) = delete;
  SensorBoard& operator=(const SensorBoard&) = delete;
  virtual ~SensorBoard() = default;

  /// Carries out a request without data.
  /// @return false when the board has no such request.
  virtual bool command(std::uint8_t request, std::uint16_t value, std::uint16_t index) = 0;

  /// Answers a request for data.
  /// @param room takes as much of the answer as fits
  /// @return bytes written, or none when the board has no such request.
  virtual std::optional<std::size_t> answer(std::uint8_t request, std::uint16_t value,
                                            std::span<std::uint8_t> room) = 0;

  /// Whether there is a register behind this request to read or write one; true for a request that
  /// has nothing to do with registers.
  [[nodiscard]] virtual bool holds(std::uint8_t request, std::uint16_t address) const = 0;

  /// What the board does while the bridge passes on its frames.
  [[nodiscard]] virtual RunMode runMode() const = 0;
  [[nodiscard]] virtual bool shutterOpen() const = 0;

  /// What frames come about with the registers now in effect; none when these contradict each
  /// other. The sensor's temperature is left to the caller.
  [[nodiscard]] virtual std::optional<FrameSettings> frameSettings() const = 0;
};

/// The board of a model, as it comes up.
std::unique_ptr<SensorBoard> makeBoard(const Model& model);

}  // namespace orvik::sim
