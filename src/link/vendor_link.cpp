// SPDX-License-Identifier: MIT
#include "link/vendor_link.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kTimeoutMs = 500;
/// Requests in a row without an answer after which a camera counts as silent.
constexpr int kSilentAfter = 4;
constexpr auto kSilencePause = 1s;
constexpr std::uint8_t kRecipientDevice = 0;
constexpr std::uint8_t kVendorType = 2;

constexpr int kSafeTries = 3;
/// How long after the first attempt a safe request may be repeated.
constexpr auto kSafeTime = 1s;
/// The pause after a failed repetition. A request that the camera never acknowledges must not slow
/// down all others.
constexpr auto kRepeatPause = 1s;
constexpr auto kClosingTime = 2s;

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

bool VendorLink::transfer(bool read, VendorRequest request, std::uint16_t value,
                          std::uint16_t index, std::span<std::uint8_t> data) {
  if (!open_ || leaving_) return false;
  const std::lock_guard lock(deviceLock_);
  if (!open_ || leaving_) return false;  // may have changed while waiting for the lock
  const bool plain = !read && index == 0 && data.empty();
  const auto settled = plain ? SafeRequests::settledBy(request, value) : std::nullopt;
  const auto endangered = plain ? SafeRequests::endangeredBy(request, value) : std::nullopt;
  bool done = false;
  if (settled) {
    safe_.demand(*settled);
    done = trySafe(*settled);
  } else {
    if (isSilent() || (endangered && closing_)) return false;
    if (endangered) safe_.endanger(*endangered);  // before sending: the answer may be lost
    done = exchange(read, request, value, index, data);
  }
  if (done) repeatDue();
  return done;
}

bool VendorLink::exchange(bool read, VendorRequest request, std::uint16_t value,
                          std::uint16_t index, std::span<std::uint8_t> data) {
  CCyControlEndPoint* control = device_->controlEndpoint();
  if (control == nullptr) return false;
  control->target = kRecipientDevice;
  control->requestType = kVendorType;
  control->direction = read ? 1 : 0;
  control->requestCode = static_cast<std::uint8_t>(request);
  control->value = value;
  control->index = index;
  control->timeoutMs = kTimeoutMs;
  std::size_t length = data.size();
  const bool done = control->transfer(data, length);
  noteAnswer(done ? seam::TransferStatus::kOk : control->lastStatus());
  return done;
}

bool VendorLink::trySafe(SafeRequest request) {
  safe_.noteTry(request);
  const SafeRequests::Words words = SafeRequests::wordsOf(request);
  const bool done = exchange(false, words.request, words.value, 0, {});
  if (done) safe_.settle(request);
  return done;
}

void VendorLink::repeatDue() {
  if (Clock::now() < repeatAgain_) return;
  while (const auto due = safe_.nextDue(repeatFrom_)) {
    if (trySafe(*due)) continue;
    repeatAgain_ = Clock::now() + kRepeatPause;
    repeatFrom_ = SafeRequests::after(*due);  // the other requests are sent before this one again
    return;
  }
}

bool VendorLink::isSilent() const {
  return unanswered_ >= kSilentAfter && Clock::now() < askAgain_;
}

void VendorLink::noteAnswer(seam::TransferStatus status) {
  if (status == seam::TransferStatus::kNoDevice) gone_ = true;
  const bool silent =
      status == seam::TransferStatus::kTimedOut || status == seam::TransferStatus::kCancelled;
  unanswered_ = silent ? std::min(unanswered_ + 1, kSilentAfter) : 0;
  if (silent) askAgain_ = Clock::now() + kSilencePause;
}

bool VendorLink::sendSafe(SafeRequest request) {
  const auto lastTry = Clock::now() + kSafeTime;
  for (int tries = 1;; ++tries) {
    {
      const std::lock_guard lock(deviceLock_);
      if (!open_) return false;
      if (tries == 1) {
        safe_.demand(request);
      } else if (!safe_.isDue(request)) {
        return safe_.isSettled(request);  // another thread has sent it, or its opposite
      }
      if (trySafe(request)) {
        repeatDue();
        return true;
      }
    }
    if (tries == kSafeTries || closing_ || gone_ || Clock::now() > lastTry) return false;
  }
}

bool VendorLink::isSettled(SafeRequest request) {
  const std::lock_guard lock(deviceLock_);
  return safe_.isSettled(request);
}

void VendorLink::makeSafe(bool hasCooler) {
  const std::lock_guard lock(deviceLock_);
  safe_.demandAll(hasCooler);
  SafeRequest request = SafeRequest::kGuideOff0;
  for (std::size_t n = 0; n < SafeRequests::kCount && open_ && !gone_ && !isSilent(); ++n) {
    if (safe_.isDue(request)) trySafe(request);
    request = SafeRequests::after(request);
  }
}

void VendorLink::beginClosing() {
  closing_ = true;
  const auto closeBy = Clock::now() + kClosingTime;
  const std::lock_guard lock(deviceLock_);
  safe_.forgetTries();
  closeBy_ = closeBy;
}

void VendorLink::settle() {
  const std::lock_guard lock(deviceLock_);
  safe_.demandAllOwed();
  SafeRequest request = SafeRequest::kGuideOff0;
  for (std::size_t n = 0; n < kSafeTries * SafeRequests::kCount && open_ && !gone_; ++n) {
    const bool inTime = !safe_.wasTried(request) || Clock::now() < closeBy_;
    if (safe_.isDue(request) && inTime) trySafe(request);
    request = SafeRequests::after(request);
  }
}

void VendorLink::settleBy(Clock::time_point deadline) {
  closing_ = true;
  leaving_ = true;
  const std::unique_lock lock(deviceLock_, deadline);
  if (!lock.owns_lock() || !open_ || gone_) return;
  safe_.demandAllOwed();
  while (const auto due = safe_.nextDue(repeatFrom_)) {
    repeatFrom_ = SafeRequests::after(*due);
    if (Clock::now() >= deadline || !trySafe(*due)) return;
  }
}

void VendorLink::allowRequests() {
  ExitGuard::arm();
  const std::lock_guard lock(deviceLock_);
  unanswered_ = 0;
  gone_ = false;
  sensorClockStopped_ = false;  // of the device before
  closing_ = false;
  open_ = true;
}

bool VendorLink::send(VendorRequest request, std::uint16_t value, std::uint16_t index,
                      std::span<std::uint8_t> data) {
  return transfer(false, request, value, index, data);
}

bool VendorLink::receive(VendorRequest request, std::uint16_t value, std::uint16_t index,
                         std::span<std::uint8_t> data) {
  return transfer(true, request, value, index, data);
}

bool VendorLink::writeSensorWord(std::uint16_t address, std::uint16_t value) {
  return !sensorClockStopped_ && send(VendorRequest::kWriteSensorWord, address, value);
}

bool VendorLink::writeSensorByte(std::uint16_t address, std::uint8_t value) {
  return !sensorClockStopped_ && send(VendorRequest::kWriteSensorByte, address, value);
}

bool VendorLink::readSensorWord(std::uint16_t address, std::uint16_t& value) {
  std::array<std::uint8_t, 2> answer{};
  const bool ok =
      !sensorClockStopped_ && receive(VendorRequest::kReadSensorWord, address, 0, answer);
  value = static_cast<std::uint16_t>(answer[0] << 8 | answer[1]);
  return ok;
}

bool VendorLink::readSensorByte(std::uint16_t address, std::uint8_t& value) {
  std::array<std::uint8_t, 1> answer{};
  const bool ok =
      !sensorClockStopped_ && receive(VendorRequest::kReadSensorByte, address, 0, answer);
  value = answer[0];
  return ok;
}

bool VendorLink::writeFpga(std::uint16_t address, std::uint16_t value) {
  return send(VendorRequest::kWriteFpga, address, value);
}

bool VendorLink::readFpga(std::uint16_t address, std::uint8_t& value) {
  std::array<std::uint8_t, 1> answer{};
  const bool ok = receive(VendorRequest::kReadFpga, address, 0, answer);
  value = answer[0];
  return ok;
}

bool VendorLink::sendClock(VendorRequest request, bool stopped) {
  if (!send(request)) return false;
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
