// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

#include "link/exit_guard.h"
#include "link/safe_requests.h"
#include "link/vendor_request.h"
#include "usb/usb_device.h"

namespace orvik {

/// The way to one camera's registers: vendor requests on the control endpoint, one at a time.
///
/// Every request takes at most 500 ms, 50 ms after a cancellation and the bound of
/// CCyUSBEndPoint::transfer(); none is repeated, but for those that leave the camera safe. While
/// the device is not open each fails at once without a transfer. So does each, for a second, after
/// four in a row that found no answer: what consists of a hundred requests does not wait a hundred
/// times for a camera that has fallen silent.
///
/// The safe requests (SafeRequest) are never held back by that pause, and are remembered until the
/// camera has acknowledged them. One that was lost is sent again after the next request that gets
/// through, whoever sends it; while that fails too, once a second. Any thread.
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
  bool send(VendorRequest request, std::uint16_t value = 0, std::uint16_t index = 0,
            std::span<std::uint8_t> data = {});
  /// One request device to host; `data` keeps its bytes where the device sent none.
  bool receive(VendorRequest request, std::uint16_t value, std::uint16_t index,
               std::span<std::uint8_t> data);

  /// Sends a safe request until it is acknowledged: up to three times, the last of which begins
  /// within a second of the first; once while the camera is being closed. 2.6 s at most.
  /// @return whether the camera acknowledged it. If not, it stays due.
  bool sendSafe(SafeRequest request);
  /// Whether the camera has acknowledged a safe request, and was sent nothing to the contrary
  /// since.
  [[nodiscard]] bool isSettled(SafeRequest request);

  /// Sends every safe request to a camera of which nothing is known: a program that crashed may
  /// have left it in any state. Breaks off at the fourth that finds no answer; what is left stays
  /// due.
  void makeSafe(bool hasCooler);
  /// From now on, until allowRequests(), the camera is sent nothing that would have to be undone:
  /// no guide line goes on, no power reaches the cooler, no stream starts, the flash does not get
  /// the bus.
  void beginClosing();
  /// Sends every safe request that the camera is owed, after beginClosing(). Each is tried at least
  /// once since then; none begins later than 2 s after it otherwise.
  void settle();
  /// beginClosing() and settle() for a program that ends while other threads may be inside a
  /// request: what cannot be sent in time is left.
  void settleBy(std::chrono::steady_clock::time_point deadline);

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
  using Clock = std::chrono::steady_clock;

  bool transfer(bool read, VendorRequest request, std::uint16_t value, std::uint16_t index,
                std::span<std::uint8_t> data);
  bool sendClock(VendorRequest request, bool stopped);

  // With the device lock held
  /// One transfer, without any rule.
  bool exchange(bool read, VendorRequest request, std::uint16_t value, std::uint16_t index,
                std::span<std::uint8_t> data);
  bool trySafe(SafeRequest request);
  /// Sends again what is due, now that the camera answers, up to the first that fails.
  void repeatDue();
  [[nodiscard]] bool isSilent() const;
  /// Learns from how a request ended.
  void noteAnswer(seam::TransferStatus status);

  std::unique_ptr<CUsbDevice> device_;
  std::timed_mutex deviceLock_;  ///< guards the control endpoint from its setup to its answer
  std::mutex flashLock_;         ///< taken before deviceLock_
  // Under the device lock
  int unanswered_ = 0;          ///< requests in a row
  Clock::time_point askAgain_;  ///< when unanswered
  SafeRequests safe_;
  SafeRequest repeatFrom_ = SafeRequest::kGuideOff0;
  Clock::time_point repeatAgain_;  ///< when a repetition has failed
  Clock::time_point closeBy_;      ///< the last moment to repeat a safe request at

  std::atomic<bool> open_{false};
  std::atomic<bool> closing_{false};
  std::atomic<bool> leaving_{false};  ///< the program ends: only safe requests are sent
  std::atomic<bool> gone_{false};
  std::atomic<bool> sensorClockStopped_{false};
  const ExitGuard exitGuard_{*this};  ///< last: it uses all of the above
};

}  // namespace orvik
