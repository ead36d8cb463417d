// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

#include "usb/usb_device.h"

namespace orvik {

/// The vendor requests that cameras know.
enum class VendorRequest : std::uint8_t {
  kBridgeMemory = 0xA0,
  kSensorClock24MHz = 0xA3,
  kSensorClock48MHz = 0xA4,
  kWriteSensorWord = 0xA6,
  kReadSensorWord = 0xA7,
  kStartStreaming = 0xA9,
  kStopStreaming = 0xAA,
  kOutput8Bits = 0xAB,
  kOutput16Bits = 0xAC,
  kFirmwareVersion = 0xAD,
  kStopSensorClock = 0xAE,
  kStartSensorClock = 0xAF,
  kGuideOn = 0xB0,
  kGuideOff = 0xB1,
  kCoolerDrive = 0xB2,
  kTemperature = 0xB3,
  kHostPort = 0xB4,
  kTransferCount = 0xB5,
  kWriteSensorByte = 0xB6,
  kReadSensorByte = 0xB7,
  kI2cMemory = 0xBA,
  kReadFpga = 0xBC,
  kWriteFpga = 0xBD,
  kSwitchBus = 0xBE,
  kWriteFlash = 0xC2,
  kReadFlash = 0xC3,
  kFlashSector = 0xC4,
  kThermistor = 0xC7,
};

/// The way to one camera's registers: vendor requests on the control endpoint, one at a time.
///
/// Every request takes at most 500 ms, 50 ms after a cancellation and the bound of
/// CCyUSBEndPoint::transfer(); none is repeated. While the device is not open each fails at once
/// without a transfer. So does each, for a second, after four in a row that found no answer: what
/// consists of a hundred requests does not wait a hundred times for a camera that has fallen
/// silent. Any thread.
class VendorLink {
 public:
  explicit VendorLink(std::unique_ptr<CUsbDevice> device);

  /// The device itself; opened, claimed and closed by the camera object, never during capture.
  [[nodiscard]] CUsbDevice& device() { return *device_; }

  [[nodiscard]] bool isOpen() const { return open_; }
  /// Whether a request has found the device unplugged since it was opened. It does not come back:
  /// what is plugged again is another device.
  [[nodiscard]] bool isGone() const { return gone_; }
  /// A transfer on another endpoint has found it unplugged.
  void noteGone() { gone_ = true; }
  /// Refuses requests, closes the device and lets go of it; `next` takes its place. Not during
  /// capture.
  void replaceDevice(std::unique_ptr<CUsbDevice> next);
  /// Lets requests through, once the device is open and claimed.
  void allowRequests();
  /// Lets no request through any more, and leaves the device as it is.
  void refuseRequests() { open_ = false; }
  /// Refuses requests and closes the device. Nobody may be reading from the bulk endpoint.
  void close();

  /// One request host to device. @return whether the transfer succeeded.
  bool send(std::uint8_t code, std::uint16_t value = 0, std::uint16_t index = 0,
            std::span<std::uint8_t> data = {});
  /// One request device to host; `data` keeps its bytes where the device sent none.
  bool receive(std::uint8_t code, std::uint16_t value, std::uint16_t index,
               std::span<std::uint8_t> data);

  // Sensor registers: refused without a request while the sensor's clock is stopped, because its
  // serial interface does not answer without it.
  bool writeSensorWord(std::uint16_t address, std::uint16_t value);
  bool writeSensorByte(std::uint16_t address, std::uint8_t value);
  /// `value` becomes 0 when the read fails.
  bool readSensorWord(std::uint16_t address, std::uint16_t& value);
  bool readSensorByte(std::uint16_t address, std::uint8_t& value);

  bool writeFpga(std::uint16_t address, std::uint16_t value);
  /// `value` becomes 0 when the read fails.
  bool readFpga(std::uint16_t address, std::uint8_t& value);

  bool startSensorClock();
  bool stopSensorClock();

  /// Held over requests that belong together while the flash has the bus.
  [[nodiscard]] std::unique_lock<std::mutex> lockFlash() { return std::unique_lock(flashLock_); }

  /// Aborts what is in flight on the bulk endpoint and clears its halt.
  bool resetBulkPipe();

 private:
  bool transfer(bool read, std::uint8_t code, std::uint16_t value, std::uint16_t index,
                std::span<std::uint8_t> data);
  static constexpr std::uint8_t code(VendorRequest request) {
    return static_cast<std::uint8_t>(request);
  }
  bool sendClock(VendorRequest request, bool stopped);
  /// Learns from how a request ended. Wants the device lock held.
  void noteAnswer(seam::TransferStatus status);

  std::unique_ptr<CUsbDevice> device_;
  std::mutex deviceLock_;  ///< guards the control endpoint from its setup fields to its answer
  std::mutex flashLock_;   ///< taken before deviceLock_
  int unanswered_ = 0;     ///< requests in a row; under the device lock
  std::chrono::steady_clock::time_point askAgain_;  ///< when unanswered; under the device lock
  std::atomic<bool> open_{false};
  std::atomic<bool> gone_{false};
  std::atomic<bool> sensorClockStopped_{false};
};

/// While it lives, sensor registers take values without using them; at its end they take effect
/// together. One set of values never lasts for half a frame.
class SensorHold {
 public:
  explicit SensorHold(VendorLink& link) : link_(link) { link_.writeSensorByte(kRegister, 1); }
  ~SensorHold() { release(); }
  SensorHold(const SensorHold&) = delete;
  SensorHold& operator=(const SensorHold&) = delete;

  /// Ends the hold now. @return whether the release was sent.
  bool release() {
    if (released_) return true;
    released_ = true;
    return link_.writeSensorByte(kRegister, 0);
  }

 private:
  static constexpr std::uint16_t kRegister = 0x3001;
  VendorLink& link_;
  bool released_ = false;
};

/// The same for the FPGA's registers.
class FpgaHold {
 public:
  explicit FpgaHold(VendorLink& link) : link_(link) { link_.writeFpga(kRegister, 1); }
  ~FpgaHold() { link_.writeFpga(kRegister, 0); }
  FpgaHold(const FpgaHold&) = delete;
  FpgaHold& operator=(const FpgaHold&) = delete;

 private:
  static constexpr std::uint16_t kRegister = 1;
  VendorLink& link_;
};

}  // namespace orvik
