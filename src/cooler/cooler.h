// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "camera/camera_state.h"
#include "camera/stop_switch.h"
#include "camera/vendor_link.h"
#include "cooler/regulator.h"
#include "seam/clock.h"

namespace orvik::cooler {

/// The temperature that a converter's value stands for.
/// @param value, referenceKiloOhms see thermistorCelsius()
/// @return degrees Celsius; outside the thermistor's range what this last returned, for any camera.
float believedCelsius(std::uint8_t value, int referenceKiloOhms);

/// The cooler of one camera: its drive, its thermometer and the regulation between the two. The
/// camera object and the thread that regulates share it, so that either may outlive the other.
///
/// Whatever changes the drive is done by one thread at a time, to the end of its request: a
/// regulation step that is under way when somebody switches the cooler off can never have the last
/// word. Any thread.
class Cooler {
 public:
  Cooler(std::shared_ptr<CameraState> state, std::shared_ptr<VendorLink> link,
         std::shared_ptr<seam::Clock> clock);

  /// Sends a value to the cooler's drive, unless it is the last one that any camera of this process
  /// was sent. @param drive 255 (off) down to 47 (full current)
  void setDrive(int drive);

  /// @param percent limited to 0 to 100; of the largest current
  void setPower(float percent);

  /// Starts the controller anew.
  void resetController(const PidController::Gains& gains);

  /// Regulation and its target; each change of either starts the controller anew.
  /// @param target degrees Celsius, rounded towards zero
  void setRegulation(bool on, float target);
  void setTarget(int celsius);
  /// Off also takes the power away, in one step that no regulation comes between.
  void setOn(bool on);

  /// One step of regulation.
  /// @param celsius temperature of the sensor
  void regulate(float celsius);
  /// The same with the temperature measured last; nothing once `work` has been stopped.
  void regulate(const StopSwitch& work);

  /// Asks the thermistor. @return degrees Celsius; the last ones read from any camera of this
  /// process when it does not answer, or with nonsense.
  [[nodiscard]] float readTemperature() const;
  /// The same, and puts the answer into the camera's state.
  float measure();

  /// The end of cooling: no power, whatever other cameras were sent.
  void switchOff();

 private:
  using Lock = std::lock_guard<std::mutex>;

  // With the lock held
  void requestDrive(int drive);
  void requestPower(float percent);
  void changeRegulation(bool on, int target);
  void step(float celsius);
  void sendDrive(int drive);

  const std::shared_ptr<CameraState> state_;
  const std::shared_ptr<VendorLink> link_;
  const std::shared_ptr<seam::Clock> clock_;

  std::mutex mutex_;
  GlitchFilter filter_;
  PidController controller_;
  std::optional<int> drive_;  ///< last value requested for this camera
};

}  // namespace orvik::cooler
