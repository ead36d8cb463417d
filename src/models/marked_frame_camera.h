// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "camera/camera_base.h"
#include "models/marked_timing.h"

namespace orvik {

/// One step of a sensor's initialisation: a register write, or a sleep of `value` milliseconds.
struct InitStep {
  static constexpr std::uint16_t kSleep = 0xFFFF;
  std::uint16_t address;
  std::uint16_t value;
};

/// What sets one marked-frame model apart from the others, beside its ModelRow.
struct MarkedModel {
  std::span<const InitStep> initTable;
  bool keepsSensorAwake;     ///< after a capture
  std::int32_t autoMaxGain;  ///< highest gain of automatic exposure on a new camera
  int clockAtStartKhz;
  int lineLengthAtStart;  ///< clock cycles
};

/// Values that all cameras of one model share: the last one to set them wins.
struct MarkedModelShared {
  std::atomic<int> minLineLength{0};    ///< clock cycles
  std::atomic<int> bytesPerPercent{0};  ///< what the port carries
};

/// The family of the models whose FPGA marks each frame: registers of 8 bits in sensor and FPGA,
/// and the readout, timing and controls made of them.
/// @tparam Base CCameraBase, or the cooled camera that derives from it
template <class Base>
class MarkedFrameCamera : public Base {
 public:
  using Base::model;
  using Base::state;

  ~MarkedFrameCamera() override;

  bool OpenCamera(int ordinal) override;
  bool InitCamera() override;
  bool CloseCamera() override;
  bool SetResolution(int width, int height, int bin, IMAGE_TYPE type) override;
  bool SetStartPos(int x, int y) override;
  bool SetGain(int gain, bool automatic) override;
  bool SetBrightness(int value) override;
  bool SetHighSpeedMode(bool on) override;
  bool SetHardwareBin(bool on) override;
  bool SetFPSPerc(int percent, bool automatic) override;
  bool GetFPSPerc(int* percent, bool* automatic) override;
  void SetRGBBalance(int red, int blue, bool automatic) override;
  bool SetExp(std::uint64_t exposureUs, bool automatic) override;
  bool GetImage(unsigned char* buffer, int bufferSize, std::uint32_t waitMs) override;
  float GetSensorTemp() override;
  bool StartCapture(bool snapshot) override;
  bool StopCapture() override;

  /// Tells sensor and FPGA the region's size and who bins.
  void Cam_SetResolution();
  /// Selects the clock of the current mode.
  void SetCMOSClk();
  /// Selects a clock by its frequency. @return false when not open.
  bool SetCMOSClk(int khz);
  /// Works out frame rate and data rate, for exposures below 100 ms.
  void CalcMaxFPS();
  void SetOutput16Bits(bool on);

 protected:
  MarkedFrameCamera(const ModelRow& row, const MarkedModel& marked, MarkedModelShared& shared,
                    int deviceClass);

 private:
  using Base::isOpen;
  using Base::link;
  using Base::lockSettings;

  void playInitTable();
  void startSensor();
  void reapplyControls();
  void followHostPort();
  void useClock(const marked::SensorClock& clock);
  void followLongExposure(std::uint64_t exposureUs);
  void restartCaptureAfter(bool wasCapturing, bool snapshot);
  [[nodiscard]] bool binsOnSensor() const { return state().hardwareBin && state().bin == 2; }
  void writeFpgaPair(std::uint16_t address, int value);
  void writeSensorPair(std::uint16_t address, int value);

  const MarkedModel& marked_;
  MarkedModelShared& shared_;
  std::atomic<bool> regionTold_{false};  ///< whether the sensor knows what to read
};

}  // namespace orvik
