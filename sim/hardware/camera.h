// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "seam/clock.h"
#include "seam/usb_host.h"
#include "sim/camera_options.h"
#include "sim/frame_settings.h"
#include "sim/hardware/bridge_core.h"
#include "sim/hardware/cooler.h"
#include "sim/hardware/guide_port.h"
#include "sim/hardware/sensor_board.h"
#include "sim/hardware/spi_flash.h"
#include "sim/hardware/stray_request.h"
#include "sim/hardware/thermometer.h"
#include "sim/models.h"
#include "sim/telescope/telescope.h"

namespace orvik::sim {

/// The electronics of a camera: the bridge that answers vendor requests, what all cameras have
/// behind it, and the board with the sensor. Not thread-safe: the device's lock guards it.
class Camera {
 public:
  Camera(const Model& model, const CameraOptions& options, std::shared_ptr<seam::Clock> clock);

  /// Carries out a vendor request.
  /// @param data what the host sends, or room for the answer
  /// @return bytes moved, or none when the bridge refuses the request (STALL).
  std::optional<std::size_t> request(const seam::SetupPacket& setup, std::span<std::uint8_t> data);

  /// What a reset of the port does to the bridge: the stream stops, all else stays.
  void busReset();

  [[nodiscard]] CaptureState captureState() const;
  [[nodiscard]] double sensorCelsius() const;
  /// What an exposure from `begins` to `ends` shows of the sky.
  [[nodiscard]] Look look(seam::Clock::Duration begins, seam::Clock::Duration ends) const {
    return telescope_.look(begins, ends);
  }
  [[nodiscard]] const GuidePort& guidePort() const { return guidePort_; }
  /// The vendor requests that the camera has refused, and those to registers that it has not.
  [[nodiscard]] const std::vector<StrayRequest>& strays() const { return strays_; }

 private:
  /// The sensor takes no picture before its clock has been started. Its registers can be written at
  /// that time, but not after the clock has been stopped: it does not acknowledge its address then.
  enum class SensorClock : std::uint8_t { kNotStarted, kRuns, kStopped };

  /// Whether a request is for the sensor while the sensor does not acknowledge its address.
  [[nodiscard]] bool unheard(std::uint8_t request) const;
  /// Requests that carry data to the bridge. @return false when it refuses.
  bool take(const seam::SetupPacket& setup, std::span<const std::uint8_t> data);
  bool command(const seam::SetupPacket& setup);
  bool guide(int line, bool on);
  std::optional<std::size_t> answer(const seam::SetupPacket& setup, std::span<std::uint8_t> data);
  void noteStray(const seam::SetupPacket& setup, bool refused);
  std::optional<std::size_t> readFlash(const seam::SetupPacket& setup,
                                       std::span<std::uint8_t> data) const;
  bool writeFlash(const seam::SetupPacket& setup, std::span<const std::uint8_t> data);
  /// A request that the bridge serves without the camera's firmware.
  std::optional<std::size_t> requestOfCore(const seam::SetupPacket& setup,
                                           std::span<std::uint8_t> data);
  [[nodiscard]] RunMode runMode() const;

  bool superSpeed_;
  bool hasThermometer_;
  std::shared_ptr<seam::Clock> clock_;
  BridgeCore core_;
  bool streaming_ = false;
  SensorClock sensorClock_ = SensorClock::kNotStarted;
  bool wideBusOn_ = true;  ///< the bridge's 32-bit bus, which shares its pins with the flash
  std::unique_ptr<SensorBoard> board_;
  SpiFlash flash_;
  GuidePort guidePort_;
  Telescope telescope_;  ///< on a mount that the guide port is connected to
  Thermometer thermometer_;
  std::optional<Cooler> cooler_;  ///< replaces the thermometer
  std::vector<StrayRequest> strays_;
};

}  // namespace orvik::sim
