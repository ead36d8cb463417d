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

/// The coldest target that regulation aims at, degrees Celsius. Colder ones count as this one: just
/// below it the thermistor's range ends, and what is colder cannot be told from what is much
/// colder.
inline constexpr int kColdestAim = kLowestCelsius + 1;
constexpr int aimOf(int target) { return std::max(target, kColdestAim); }

/// The cooler of one camera: its drive, its thermometer and the regulation between the two. The
/// camera object and the thread that regulates share it, so that either may outlive the other.
///
/// Whatever changes the drive is done by one thread at a time, to the end of its request: a
/// regulation step that is under way when somebody switches the cooler off can never have the last
/// word. The power in the camera's state is the one that the camera has acknowledged. Any thread.
class Cooler {
 public:
  Cooler(std::shared_ptr<CameraState> state, std::shared_ptr<VendorLink> link,
         std::shared_ptr<seam::Clock> clock);

  /// Forgets what was known of the camera, which has been opened.
  void begin();

  /// Sends a value to the cooler's drive, unless it is the one that the camera acknowledged last.
  /// @param drive 255 (off) down to 47 (full current)
  void setDrive(int drive);

  /// @param percent limited to 0 to 100; of the largest current
  /// @return whether the camera has acknowledged it.
  bool setPower(float percent);

  /// Percent of the largest current, as the camera acknowledged it last; truncated.
  [[nodiscard]] int power() const { return static_cast<int>(state_->coolerPower); }

  /// Starts the controller anew.
  void resetController(const PidController::Gains& gains);

  /// Regulation and its target; each change of either starts the controller anew.
  /// @param target degrees Celsius, rounded towards zero
  void setRegulation(bool on, float target);
  void setTarget(int celsius);
  /// Off also takes the power away, in one step that no regulation comes between.
  /// @return false when it is to be off and the camera has not acknowledged that: it is sent again
  ///         with the next request that gets through.
  bool setOn(bool on);

  /// One step of regulation.
  /// @param celsius temperature of the sensor
  void regulate(float celsius);
  /// The same with the temperature measured last, if there was one; nothing once `work` has been
  /// stopped. A sensor colder than the thermistor's range counts as one at its end.
  void regulate(const StopSwitch& work);

  /// Asks the thermistor. @return degrees Celsius; this camera's last valid reading when it does
  /// not answer, or with nonsense.
  [[nodiscard]] float readTemperature();
  /// The same, and puts a valid reading into the camera's state. Without one for kReadingLifetime
  /// regulation takes the power away, until there is one again.
  float measure();
  /// The temperature that a converter's value stands for.
  /// @param value, referenceKiloOhms see thermistorCelsius()
  /// @return degrees Celsius; outside the thermistor's range this camera's last valid reading.
  float believedCelsius(std::uint8_t value, int referenceKiloOhms);

 private:
  using Lock = std::lock_guard<std::mutex>;

  /// What asking the thermistor has brought.
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
  std::optional<int> requested_;     ///< last value requested for this camera
  std::optional<int> acknowledged_;  ///< its drive's value, where it is known
};

}  // namespace orvik::cooler
