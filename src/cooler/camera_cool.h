// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>

#include "camera/camera_base.h"
#include "camera/stop_switch.h"
#include "camera/worker_thread.h"
#include "cooler/cooler.h"

namespace orvik {

/// The common camera with a thermo-electric cooler: a face that hands on to its cooler and to the
/// thread that keeps the temperature.
///
/// InitCamera() starts the thread with the cooler off; CloseCamera() and the destructor end it and
/// take the power away where the camera still answers.
///
/// Threads: StartAutoTempThr() and StopAutoTempThr() as InitCamera() and CloseCamera(); everything
/// else for any thread. Requests end by the limit of VendorLink; one that changes the drive waits
/// for the one before it.
class CCameraCool : public CCameraBase {
 public:
  ~CCameraCool() override;

  CCameraCool* cooler() override { return this; }

  /// Sends a value to the cooler's drive, unless it was the last one that the camera acknowledged.
  /// @param da 255 (off) down to 47 (full current)
  void SetDA(int da);
  /// @param current amperes @return drive value, 47 to 255
  static int CalculDA(float current);
  /// @param da drive value @return percent of the largest current, 0 to 100
  static int CalculIPerc(int da);

  /// @param perc percent of the largest current, limited to 0 to 100
  void SetPowerPerc(float perc);
  /// The power that the camera acknowledged last.
  [[nodiscard]] int GetPowerPerc() const;

  /// Starts the temperature controller anew, with other gains.
  void PID_init(float kp, float ki, float kd);
  /// Switches regulation on or off, and starts the controller anew with its usual gains. Off leaves
  /// the power as it is. @param target degrees Celsius, rounded towards zero
  void SetAutoTemp(bool on, float target);
  /// Changes the target and leaves regulation on or off. @param target degrees Celsius
  void SetTargetTemp(int target);
  /// Switches regulation on, or off and the power with it; the target stays.
  /// @return false when the camera did not acknowledge that there is to be no power. It is told
  ///         again by the next request that gets through.
  bool SwitchCooler(bool on);
  /// @param target receives degrees Celsius
  void GetAutoTemp(bool* on, float* target) const;
  /// One step of the controller. @param temperature of the sensor, degrees Celsius
  void AutoTemp(float temperature);

  /// Whether the thread that keeps the temperature has been started.
  [[nodiscard]] bool IsAutoTempWorking() const { return autoTempWorking_; }
  /// Starts the thread, unless it runs. Without a thread to be had, IsAutoTempWorking() stays
  /// false.
  void StartAutoTempThr();
  /// Ends the thread, if it runs, and takes the cooler's power away. A thread that does not end
  /// within 500 ms, because its request hangs, is left to itself: it has nothing more to say.
  void StopAutoTempThr();

  /// Degrees Celsius from the thermistor; this camera's last valid reading when it does not answer,
  /// or with nonsense.
  float GetADTemp();
  /// @param ad converter's value; @param refKOhm kilohms of the thermistor's divider
  /// @return degrees Celsius; outside the thermistor's range this camera's last valid reading.
  float CalculTempuature(unsigned char ad, int refKOhm);
  /// Like GetADTemp(), and remembers the result.
  float GetSensorTemp() override;

 protected:
  CCameraCool(const ModelRow& model, std::shared_ptr<const FrameProtocol> protocol);

  void onInitialised() override;
  void onClosing() override;

 private:
  const std::shared_ptr<cooler::Cooler> cooler_;
  WorkerThread thread_;
  std::shared_ptr<StopSwitch> work_;
  std::atomic<bool> autoTempWorking_{false};
};

}  // namespace orvik
