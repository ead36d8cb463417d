// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "base/stop_switch.h"
#include "cooler/regulator.h"
#include "cooler/thermistor.h"
#include "link/vendor_link.h"
#include "seam/clock.h"
#include "state/camera_state.h"

namespace orvik::cooler {

/// The coldest target that regulation uses, degrees Celsius; colder ones are raised to it. Just
/// below it the range of the thermistor ends, and colder temperatures cannot be distinguished.
inline constexpr int kColdestAim = kLowestCelsius + 1;
constexpr int aimOf(int target) { return std::max(target, kColdestAim); }

/// The cooler of one camera: its drive, its thermometer and the regulation. The camera object and
/// the thread that regulates share it, so that either may outlive the other.
///
/// Changes of the drive are serialised, including their request: a regulation step that is running
/// when the cooler is switched off can never take effect after that. The power in the camera's
/// state is the one that the camera has acknowledged. Any thread.
class Cooler {
 public:
  Cooler(std::shared_ptr<CameraState> state, std::shared_ptr<VendorLink> link,
         std::shared_ptr<seam::Clock> clock);

  /// Resets what is known about the camera; called when it has been opened.
  void begin();

  /// Sends a value to the drive of the cooler, unless the camera acknowledged the same value last.
  /// @param drive 255 (off) down to 47 (full current)
  void setDrive(int drive);

  /// @param percent of the largest current; limited to 0 to 100
  /// @return whether the camera has acknowledged it.
  bool setPower(float percent);

  /// Percent of the largest current, as the camera acknowledged it last; truncated.
  [[nodiscard]] int power() const { return static_cast<int>(state_->coolerPower); }

  /// Resets the controller.
  void resetController(const PidController::Gains& gains);

  /// Sets regulation and its target; a change of either resets the controller.
  /// @param target degrees Celsius, rounded towards zero
  void setRegulation(bool on, float target);
  void setTarget(int celsius);
  /// Switching off also switches off the power, in one step that regulation cannot interrupt.
  /// @return false when the camera did not acknowledge the switching off: it is repeated after the
  ///         next request that succeeds.
  bool setOn(bool on);

  /// Makes one step of regulation.
  /// @param celsius temperature of the sensor
  void regulate(float celsius);
  /// The same with the temperature measured last, if there is one. Does nothing once `work` has
  /// been stopped. A sensor colder than the range of the thermistor counts as one at the end of the
  /// range.
  void regulate(const StopSwitch& work);

  /// Reads the thermistor. @return degrees Celsius; the last valid reading of this camera if there
  /// is no valid answer.
  [[nodiscard]] float readTemperature();
  /// The same, and stores a valid reading in the camera's state. After kReadingLifetime without a
  /// valid reading, regulation switches the power off until there is one again.
  float measure();
  /// Converts a value of the converter to a temperature.
  /// @param value, referenceKiloOhms see thermistorCelsius()
  /// @return degrees Celsius; outside the range of the thermistor the last valid reading of this
  ///         camera.
  float believedCelsius(std::uint8_t value, int referenceKiloOhms);

 private:
  using Lock = std::lock_guard<std::mutex>;

  /// The result of reading the thermistor.
  struct Reading {
    enum class Kind : std::uint8_t { kNoAnswer, kCelsius, kTooCold, kNonsense };
    Kind kind = Kind::kNoAnswer;
    float celsius = 0;  ///< for kCelsius
  };
  [[nodiscard]] Reading read();

  // With the lock held
  bool requestDrive(int drive);
  bool requestPower(float percent);
  void changeRegulation(bool on, int target);
  void step(float celsius);
  void note(const Reading& reading);
  void watchReadings();
  void followLink();

  const std::shared_ptr<CameraState> state_;
  const std::shared_ptr<VendorLink> link_;
  const std::shared_ptr<seam::Clock> clock_;
  std::atomic<float> lastCelsius_{0};  ///< last valid reading

  std::mutex mutex_;
  GlitchFilter filter_;
  PidController controller_;
  Reading reading_;  ///< the last one
  seam::Clock::Duration
      readableAt_{};                 ///< of the last valid reading, or when the camera was opened
  std::optional<int> requested_;     ///< drive value that was requested last
  std::optional<int> acknowledged_;  ///< present drive value, if known
};

}  // namespace orvik::cooler
