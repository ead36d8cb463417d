// SPDX-License-Identifier: MIT
#include "camera/vendor_link.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orvik {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kTimeoutMs = 500;
/// Requests in a row without an answer after which a camera counts as silent.
constexpr int kSilentAfter = 4;
constexpr auto kSilencePause = std::chrono::seconds(1);
constexpr std::uint8_t kRecipientDevice = 0;
constexpr std::uint8_t kVendorType = 2;

}  // namespace

VendorLink::VendorLink(std::unique_ptr<CUsbDevice> device) : device_(std::move(device)) {}

void VendorLink::close() {
  open_ = false;
  const std::lock_guard lock(deviceLock_);
  device_->Close();
}

void VendorLink::replaceDevice(std::unique_ptr<CUsbDevice> next) {
  open_ = false;
  const std::lock_guard lock(deviceLock_);
  device_ = std::move(next);
  sensorClockStopped_ = false;
}

bool VendorLink::transfer(bool read, std::uint8_t code, std::uint16_t value, std::uint16_t index,
                          std::span<std::uint8_t> data) {
  if (!open_) return false;
  const std::lock_guard lock(deviceLock_);
  if (!open_) return false;  // closed while this one waited for its turn
  CCyControlEndPoint* control = device_->controlEndpoint();
  if (control == nullptr) return false;
  if (unanswered_ >= kSilentAfter && Clock::now() < askAgain_) return false;
  control->target = kRecipientDevice;
  control->requestType = kVendorType;
  control->direction = read ? 1 : 0;
  control->requestCode = code;
  control->value = value;
  control->index = index;
  control->timeoutMs = kTimeoutMs;
  std::size_t length = data.size();
  const bool done = control->transfer(data, length);
  noteAnswer(done ? seam::TransferStatus::kOk : control->lastStatus());
  return done;
}

void VendorLink::noteAnswer(seam::TransferStatus status) {
  if (status == seam::TransferStatus::kNoDevice) gone_ = true;
  const bool silent =
      status == seam::TransferStatus::kTimedOut || status == seam::TransferStatus::kCancelled;
  unanswered_ = silent ? std::min(unanswered_ + 1, kSilentAfter) : 0;
  if (silent) askAgain_ = Clock::now() + kSilencePause;
}

void VendorLink::allowRequests() {
  const std::lock_guard lock(deviceLock_);
  unanswered_ = 0;
  gone_ = false;
  open_ = true;
}

bool VendorLink::send(std::uint8_t code, std::uint16_t value, std::uint16_t index,
                      std::span<std::uint8_t> data) {
  return transfer(false, code, value, index, data);
}

bool VendorLink::receive(std::uint8_t code, std::uint16_t value, std::uint16_t index,
                         std::span<std::uint8_t> data) {
  return transfer(true, code, value, index, data);
}

bool VendorLink::writeSensorWord(std::uint16_t address, std::uint16_t value) {
  return !sensorClockStopped_ && send(code(VendorRequest::kWriteSensorWord), address, value);
}

bool VendorLink::writeSensorByte(std::uint16_t address, std::uint8_t value) {
  return !sensorClockStopped_ && send(code(VendorRequest::kWriteSensorByte), address, value);
}

bool VendorLink::readSensorWord(std::uint16_t address, std::uint16_t& value) {
  std::array<std::uint8_t, 2> answer{};
  const bool ok =
      !sensorClockStopped_ && receive(code(VendorRequest::kReadSensorWord), address, 0, answer);
  value = static_cast<std::uint16_t>(answer[0] << 8 | answer[1]);
  return ok;
}

bool VendorLink::readSensorByte(std::uint16_t address, std::uint8_t& value) {
  std::array<std::uint8_t, 1> answer{};
  const bool ok =
      !sensorClockStopped_ && receive(code(VendorRequest::kReadSensorByte), address, 0, answer);
  value = answer[0];
  return ok;
}

bool VendorLink::writeFpga(std::uint16_t address, std::uint16_t value) {
  return send(code(VendorRequest::kWriteFpga), address, value);
}

bool VendorLink::readFpga(std::uint16_t address, std::uint8_t& value) {
  std::array<std::uint8_t, 1> answer{};
  const bool ok = receive(code(VendorRequest::kReadFpga), address, 0, answer);
  value = answer[0];
  return ok;
}

bool VendorLink::sendClock(VendorRequest request, bool stopped) {
  if (!send(code(request))) return false;
  sensorClockStopped_ = stopped;
  return true;
}

bool VendorLink::startSensorClock() { return sendClock(VendorRequest::kStartSensorClock, false); }

bool VendorLink::stopSensorClock() { return sendClock(VendorRequest::kStopSensorClock, true); }

bool VendorLink::resetBulkPipe() {
  CCyBulkEndPoint* bulkIn = device_->bulkIn();
  if (!open_ || bulkIn == nullptr) return false;
  bulkIn->abort();
  return bulkIn->resetPipe();
}

}  // namespace orvik
