/* SPDX-License-Identifier: MIT */
/**
 * @file camera_cool.h
 * CCameraCool: the base class of the classes of all cooled models.
 */
#ifndef ORVIK_CAMERA_COOL_H
#define ORVIK_CAMERA_COOL_H

#include <orvik/camera_base.h>

namespace orvik {

/**
 * A camera with a thermo-electric cooler.
 *
 * InitCamera() starts a thread that measures the temperature and, once SetAutoTemp() has switched
 * regulation on, regulates it. CloseCamera() and the destructor end the thread and switch the
 * power off. If the temperature could not be read for 30 s, regulation switches the power off until
 * it can be read again.
 *
 * Threads: the rules for InitCamera() and CloseCamera() also apply to StartAutoTempThr() and
 * StopAutoTempThr(). Any thread may call the other members.
 */
class ORVIK_API CCameraCool : public CCameraBase {
 public:
  ~CCameraCool() override;

  /** Sends a value to the cooler's drive, unless it is the last value that the camera acknowledged.
   *  @param da 255 (off) down to 47 (full current); limited to 0 to 255 */
  void SetDA(int da) noexcept;
  /** @param current amperes, limited to 0 to 1.73 @return the drive's value, 47 to 255 */
  static int CalculDA(float current) noexcept;
  /** @param da the drive's value @return percent of the largest current, 0 to 100 */
  static int CalculIPerc(int da) noexcept;
  /** @param perc percent of the largest current, limited to 0 to 100 */
  void SetPowerPerc(float perc) noexcept;
  /** @return percent, the last value that the camera acknowledged */
  int GetPowerPerc() const noexcept;

  /**
   * Switches regulation on or off, and resets the controller to its default gains. Switching off
   * leaves the power unchanged: SetPowerPerc(0) switches it off.
   *
   * @param target degrees Celsius, rounded towards zero. Below -19 it regulates to -19, the lowest
   *        temperature that can be measured reliably.
   */
  void SetAutoTemp(bool on, float target) noexcept;
  /** @param on receives whether regulation is on @param target receives degrees Celsius */
  void GetAutoTemp(bool* on, float* target) const noexcept;
  /** Resets the controller and sets its gains. */
  void PID_init(float kp, float ki, float kd) noexcept;
  /** Does one step of the controller. The thread does this automatically.
   *  @param temperature of the sensor, degrees Celsius */
  void AutoTemp(float temperature) noexcept;

  /** Whether the thread runs. */
  bool IsAutoTempWorking() const noexcept;
  /** Starts the thread if it does not run. Works only while the camera is open. */
  void StartAutoTempThr() noexcept;
  /** Ends the thread if it runs, and switches the power off. Waits at most 500 ms. */
  void StopAutoTempThr() noexcept;

  /** Reads the thermistor. @return degrees Celsius; the last valid reading if the camera does not
   *  answer or the answer is invalid */
  float GetADTemp() noexcept;
  /** @param ad the converter's value @param refKOhm kilohms of the divider, 10 in all cameras
   *  @return degrees Celsius; the last valid reading outside -20 to 113 */
  float CalculTempuature(unsigned char ad, int refKOhm) noexcept;

 protected:
  /** @cond */
  explicit CCameraCool(std::unique_ptr<Impl> impl) noexcept;
  /** @endcond */
};

}  // namespace orvik

#endif
