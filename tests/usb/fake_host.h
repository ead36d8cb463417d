// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "seam/usb_host.h"

/// A USB host whose answers are scripted by a test.
namespace orvik::testing {

using std::chrono::milliseconds;

/// The answer of a device to one request.
struct Answer {
  static constexpr milliseconds kNever = std::chrono::hours(1);

  std::vector<std::uint8_t> data{};  ///< for IN; cut to the requested length
  seam::TransferStatus status = seam::TransferStatus::kOk;
  milliseconds delay{0};                                     ///< or kNever
  int cancelsToEnd = 1;                                      ///< kNeverByCancel: deaf
  seam::TransferStatus refusal = seam::TransferStatus::kOk;  ///< status of submit()

  static constexpr int kNeverByCancel = std::numeric_limits<int>::max();
};

/// One submission. The host keeps it while it is in flight, as a real host does: an abandoned
/// transfer still writes to its buffer when it ends.
class Flight {
 public:
  using Clock = std::chrono::steady_clock;

  Flight(seam::TransferBuffer buffer, bool in, Answer answer)
      : buffer_(std::move(buffer)),
        in_(in),
        answer_(std::move(answer)),
        due_(Clock::now() + answer_.delay) {}

  void cancel() {
    const std::lock_guard lock(mutex_);
    if (ended_ || ++cancels_ < answer_.cancelsToEnd) return;
    answer_.status = seam::TransferStatus::kCancelled;
    answer_.data.clear();
    due_ = Clock::now();
    changed_.notify_all();
  }

  bool wait(milliseconds limit) {
    std::unique_lock lock(mutex_);
    const auto deadline = Clock::now() + limit;
    while (!ended_ && Clock::now() < due_) {
      if (Clock::now() >= deadline) return false;
      changed_.wait_until(lock, std::min(deadline, due_));
    }
    end();
    return true;
  }

  /// Makes the device answer now.
  void endNow() {
    const std::lock_guard lock(mutex_);
    end();
    changed_.notify_all();
  }

  [[nodiscard]] seam::TransferStatus status() const { return answer_.status; }
  [[nodiscard]] std::size_t actualBytes() const { return moved_; }

 private:
  void end() {
    if (std::exchange(ended_, true)) return;
    moved_ = in_ ? std::min(answer_.data.size(), buffer_.bytes.size())
                 : (answer_.status == seam::TransferStatus::kOk ? buffer_.bytes.size() : 0);
    if (in_) std::copy_n(answer_.data.begin(), moved_, buffer_.bytes.begin());
    buffer_ = {};
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  seam::TransferBuffer buffer_;
  const bool in_;
  Answer answer_;
  Clock::time_point due_;
  int cancels_ = 0;
  bool ended_ = false;
  std::size_t moved_ = 0;
};

struct FakeRequest {
  seam::SetupPacket setup;
  std::vector<std::uint8_t> data;
  milliseconds timeout{0};
};

/// A device that is scripted by the test.
struct FakeDevice {
  seam::DeviceInfo info;
  seam::Speed speed = seam::Speed::kSuper;
  bool opens = true;
  bool claimable = true;
  std::function<Answer(const FakeRequest&)> control = [](const FakeRequest&) { return Answer{}; };
  std::function<Answer(std::uint8_t endpoint)> bulk = [](std::uint8_t) { return Answer{}; };

  // Records of the calls.
  std::mutex mutex;
  std::vector<FakeRequest> requests;
  std::vector<std::shared_ptr<Flight>> flights;
  std::vector<std::uint8_t> claimed;
  std::vector<std::uint8_t> cleared;
  int resets = 0;
  int openPorts = 0;

  std::shared_ptr<Flight> begin(seam::TransferBuffer buffer, bool in, Answer answer) {
    auto flight = std::make_shared<Flight>(std::move(buffer), in, std::move(answer));
    const std::lock_guard lock(mutex);
    flights.push_back(flight);
    return flight;
  }
};

template <typename Base>
class FakeTransfer : public Base {
 public:
  explicit FakeTransfer(std::shared_ptr<FakeDevice> device) : device_(std::move(device)) {}
  ~FakeTransfer() override { cancel(); }

  void cancel() override {
    if (flight_) flight_->cancel();
  }
  bool wait(milliseconds limit) override { return !flight_ || flight_->wait(limit); }
  [[nodiscard]] seam::TransferStatus status() const override { return flight_->status(); }
  [[nodiscard]] std::size_t actualBytes() const override { return flight_->actualBytes(); }

 protected:
  seam::TransferStatus begin(seam::TransferBuffer buffer, bool in, Answer answer) {
    if (answer.refusal == seam::TransferStatus::kOk) {
      flight_ = device_->begin(std::move(buffer), in, answer);
    }
    return answer.refusal;
  }

  const std::shared_ptr<FakeDevice> device_;
  std::shared_ptr<Flight> flight_;
};

class FakeControlTransfer final : public FakeTransfer<seam::ControlTransfer> {
 public:
  using FakeTransfer::FakeTransfer;
  seam::TransferStatus submit(const seam::SetupPacket& setup, seam::TransferBuffer buffer,
                              milliseconds timeout) override {
    const FakeRequest request{setup, {buffer.bytes.begin(), buffer.bytes.end()}, timeout};
    device_->requests.push_back(request);
    return begin(std::move(buffer), (setup.requestType & 0x80) != 0, device_->control(request));
  }
};

class FakeBulkTransfer final : public FakeTransfer<seam::BulkTransfer> {
 public:
  FakeBulkTransfer(std::shared_ptr<FakeDevice> device, std::uint8_t endpoint)
      : FakeTransfer(std::move(device)), endpoint_(endpoint) {}
  seam::TransferStatus submit(seam::TransferBuffer buffer) override {
    return begin(std::move(buffer), (endpoint_ & 0x80) != 0, device_->bulk(endpoint_));
  }

 private:
  const std::uint8_t endpoint_;
};

class FakePort final : public seam::Port {
 public:
  explicit FakePort(std::shared_ptr<FakeDevice> device) : device_(std::move(device)) {
    ++device_->openPorts;
  }
  ~FakePort() override { --device_->openPorts; }

  [[nodiscard]] seam::Speed speed() const override { return device_->speed; }
  bool claimInterface(std::uint8_t number) override {
    device_->claimed.push_back(number);
    return device_->claimable;
  }
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override {
    return std::make_unique<FakeControlTransfer>(device_);
  }
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t endpoint) override {
    return std::make_unique<FakeBulkTransfer>(device_, endpoint);
  }
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes) override {
    return std::make_shared<std::uint8_t[]>(bytes);
  }
  seam::TransferStatus clearHalt(std::uint8_t endpoint) override {
    device_->cleared.push_back(endpoint);
    return seam::TransferStatus::kOk;
  }
  seam::TransferStatus reset() override {
    ++device_->resets;
    return seam::TransferStatus::kOk;
  }

 private:
  const std::shared_ptr<FakeDevice> device_;
};

class FakeHost final : public seam::Host {
 public:
  std::vector<seam::DeviceInfo> devices() override {
    std::vector<seam::DeviceInfo> infos;
    for (const auto& device : plugged) infos.push_back(device->info);
    return infos;
  }

  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& wanted) override {
    for (const auto& device : plugged) {
      if (device->info.location != wanted.location) continue;
      return device->opens ? std::make_unique<FakePort>(device) : nullptr;
    }
    return nullptr;
  }

  std::vector<std::shared_ptr<FakeDevice>> plugged;
};

/// A device's descriptors by wValue (type and index). It answers as a device answers
/// GET_DESCRIPTOR; missing descriptors stall, and so does every other request except GET_INTERFACE.
struct DescriptorTable {
  std::map<std::uint16_t, std::vector<std::uint8_t>> entries;
  std::uint8_t alternateSetting = 0;

  Answer operator()(const FakeRequest& request) const {
    const Answer stall{.status = seam::TransferStatus::kStalled};
    if (request.setup.requestType == 0x81 && request.setup.request == 10) {
      return {.data = {alternateSetting}};
    }
    if (request.setup.requestType != 0x80 || request.setup.request != 6) return stall;
    const auto found = entries.find(request.setup.value);
    return found == entries.end() ? stall : Answer{.data = found->second};
  }
};

}  // namespace orvik::testing
