/* SPDX-License-Identifier: MIT */
/**
 * @file camera_cool.h
 * CCameraCool: what the classes of all cooled models have in common.
 */
#ifndef ORVIK_CAMERA_COOL_H
#define ORVIK_CAMERA_COOL_H

#include <orvik/camera_base.h>

namespace orvik {

/**
 * A camera with a thermo-electric cooler.
 *
 * InitCamera() starts a thread that measures the temperature and, once SetAutoTemp() has switched
 * regulation on, regulates it. CloseCamera() and the destructor end the thread and take the power
 * away. Where the temperature has not been read for 30 s, regulation takes the power away until it
 * is read again.
 *
 * Threads: StartAutoTempThr() and StopAutoTempThr() as InitCamera() and CloseCamera(); everything
 * else for any thread.
 */
class ORVIK_API CCameraCool : public CCameraBase {
 public:
  ~CCameraCool() override;

  /** Sends a value to the cooler's drive, unless the camera acknowledged it last.
   *  @param da 255 (off) down to 47 (full current); limited to 0 to 255 */
  void SetDA(int da) noexcept;
  /** @param current amperes, limited to 0 to 1.73 @return the drive's value, 47 to 255 */
  static int CalculDA(float current) noexcept;
  /** @param da the drive's value @return percent of the largest current, 0 to 100 */
  static int CalculIPerc(int da) noexcept;
  /** @param perc percent of the largest current, limited to 0 to 100 */
  void SetPowerPerc(float perc) noexcept;
  /** @return percent, as the camera acknowledged it last */
  int GetPowerPerc() const noexcept;

  /**
   * Switches regulation on or off, and starts the controller anew with its usual gains. Off leaves
   * the power as it is: SetPowerPerc(0) takes it away.
   *
   * @param target degrees Celsius, rounded towards zero. Below -19 it holds -19, the coldest that
   *        it can measure reliably.
   */
  void SetAutoTemp(bool on, float target) noexcept;
  /** @param on receives whether regulation is on @param target receives degrees Celsius */
  void GetAutoTemp(bool* on, float* target) const noexcept;
  /** Starts the controller anew, with other gains. */
  void PID_init(float kp, float ki, float kd) noexcept;
  /** One step of the controller, which the thread takes by itself.
   *  @param temperature of the sensor, degrees Celsius */
  void AutoTemp(float temperature) noexcept;

  /** Whether the thread runs. */
  bool IsAutoTempWorking() const noexcept;
  /** Starts the thread, unless it runs. Only while the camera is open. */
  void StartAutoTempThr() noexcept;
  /** Ends the thread, if it runs, and takes the power away. Waits at most 500 ms. */
  void StopAutoTempThr() noexcept;

  /** Asks the thermistor. @return degrees Celsius; the last valid reading when the camera does not
   *  answer, or with nonsense */
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
