// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

#include "base/timed_mutex.h"
#include "link/exit_guard.h"
#include "link/safe_requests.h"
#include "link/vendor_request.h"
#include "usb/usb_device.h"

namespace orvik {

/// Access to the registers of one camera: vendor requests on the control endpoint, one at a time.
///
/// Every request has a timeout of 500 ms, and then the bound of CCyUSBEndPoint::transfer() for the
/// cancellation. Only safe requests are repeated. While the device is not open, each request fails
/// at once without a transfer. After four in a row without an answer, all requests fail in the same
/// way for a second, so that an operation of a hundred requests does not run into a hundred
/// timeouts with a silent camera.
///
/// The safe requests (SafeRequest) are sent even during that second, and are remembered until the
/// camera has acknowledged them. A lost one is sent again after the next request that succeeds, on
/// any thread; if that fails too, once a second. Any thread.
class VendorLink {
 public:
  explicit VendorLink(std::unique_ptr<CUsbDevice> device);

  /// The device; opened, claimed and closed by the camera object, never during capture.
  [[nodiscard]] CUsbDevice& device() { return *device_; }

  [[nodiscard]] bool isOpen() const { return open_; }
  /// Whether a request has found the device unplugged since it was opened. This is final: a camera
  /// that is plugged in again is a new device.
  [[nodiscard]] bool isGone() const { return gone_; }
  /// Reports that a transfer on another endpoint has found the device unplugged.
  void noteGone() { gone_ = true; }
  /// Refuses requests, closes the device and replaces it by `next`. Not during capture.
  void replaceDevice(std::unique_ptr<CUsbDevice> next);
  /// Allows requests; called when the device is open and claimed.
  void allowRequests();
  /// Refuses all further requests; the device stays open.
  void refuseRequests() { open_ = false; }
  /// Refuses requests and closes the device. The bulk endpoint must not be in use.
  void close();

  /// Sends a request from host to device. @return whether the transfer succeeded.
  bool send(VendorRequest request, std::uint16_t value = 0, std::uint16_t index = 0,
            std::span<std::uint8_t> data = {});
  /// Sends a request from device to host; bytes of `data` that the device does not send are
  /// unchanged.
  bool receive(VendorRequest request, std::uint16_t value, std::uint16_t index,
               std::span<std::uint8_t> data);

  /// Sends a safe request until it is acknowledged: up to three times, the last of which begins
  /// within a second of the first; only once while the camera is being closed. Takes at most 2.6 s.
  /// @return whether the camera acknowledged it. If not, it stays due.
  bool sendSafe(SafeRequest request);
  /// Whether the camera has acknowledged a safe request, and its opposite has not been sent since.
  [[nodiscard]] bool isSettled(SafeRequest request);

  /// Sends every safe request to a camera in an unknown state, for example after a program has
  /// crashed. Stops at the fourth one without an answer; the rest stays due.
  void makeSafe(bool hasCooler);
  /// From now on, until allowRequests(), requests that would have to be undone are refused: those
  /// that switch on a guide line, power the cooler, start the stream or give the bus to the flash.
  void beginClosing();
  /// Sends every outstanding safe request; called after beginClosing(). Each is tried at least once
  /// since beginClosing(); further attempts begin at most 2 s after it.
  void settle();
  /// beginClosing() and settle() for a program that exits while other threads may be inside a
  /// request: requests that cannot be sent in time are skipped.
  void settleBy(std::chrono::steady_clock::time_point deadline);

  // Sensor registers: access fails without a request while the sensor's clock is stopped, because
  // the serial interface of the sensor does not answer without it.
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

  /// Held during a sequence of requests that use the flash.
  [[nodiscard]] std::unique_lock<std::mutex> lockFlash() { return std::unique_lock(flashLock_); }

  /// Aborts the transfers on the bulk endpoint and clears its halt.
  bool resetBulkPipe();

 private:
  using Clock = std::chrono::steady_clock;

  bool transfer(bool read, VendorRequest request, std::uint16_t value, std::uint16_t index,
                std::span<std::uint8_t> data);
  bool sendClock(VendorRequest request, bool stopped);

  // With the device lock held
  /// One transfer, without the checks of transfer().
  bool exchange(bool read, VendorRequest request, std::uint16_t value, std::uint16_t index,
                std::span<std::uint8_t> data);
  bool trySafe(SafeRequest request);
  /// Repeats the requests that are due, up to the first that fails; called when the camera answers.
  void repeatDue();
  [[nodiscard]] bool isSilent() const;
  /// Updates unanswered_ and gone_ from the status of a request.
  void noteAnswer(seam::TransferStatus status);

  std::unique_ptr<CUsbDevice> device_;
  TimedMutex deviceLock_;  ///< guards the control endpoint from its setup to its answer
  std::mutex flashLock_;   ///< taken before deviceLock_
  // Under the device lock
  int unanswered_ = 0;          ///< requests in a row without an answer
  Clock::time_point askAgain_;  ///< end of the pause for a silent camera
  SafeRequests safe_;
  SafeRequest repeatFrom_ = SafeRequest::kGuideOff0;
  Clock::time_point repeatAgain_;  ///< end of the pause after a failed repetition
  Clock::time_point closeBy_;      ///< deadline for repeating a safe request

  std::atomic<bool> open_{false};
  std::atomic<bool> closing_{false};
  std::atomic<bool> leaving_{false};  ///< the program exits: only safe requests are sent
  std::atomic<bool> gone_{false};
  std::atomic<bool> sensorClockStopped_{false};
  const ExitGuard exitGuard_{*this};  ///< the last member, since it uses all others
};

}  // namespace orvik
