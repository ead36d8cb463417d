// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <utility>

#include "seam/usb_host.h"

namespace orvik::test {

/// The number of bulk transfers that the system accepts at a time, and whether it lends memory that
/// they use without a copy; may be changed at any time.
struct BulkLimit {
  std::atomic<int> most{0};  ///< 0 for any number
  std::atomic<bool> lendsMemory{false};

  std::atomic<int> inFlight{0};
  std::atomic<int> highest{0};
  std::atomic<int> refusals{0};
  std::atomic<int> lent{0};    ///< pieces of memory
  std::atomic<int> clears{0};  ///< how often a pipe's halt was cleared
};

/// A bulk transfer that counts against the limit while it is in flight.
class LimitedBulk final : public seam::BulkTransfer {
 public:
  LimitedBulk(std::unique_ptr<seam::BulkTransfer> inner, std::shared_ptr<BulkLimit> limit)
      : inner_(std::move(inner)), limit_(std::move(limit)) {}
  ~LimitedBulk() override { settle(); }

  seam::TransferStatus submit(seam::TransferBuffer buffer) override {
    const int most = limit_->most;
    if (most != 0 && limit_->inFlight >= most) {
      ++limit_->refusals;
      return seam::TransferStatus::kNoMemory;
    }
    const seam::TransferStatus status = inner_->submit(std::move(buffer));
    if (status == seam::TransferStatus::kOk) {
      counted_ = true;
      const int now = ++limit_->inFlight;
      if (now > limit_->highest) limit_->highest = now;
    }
    return status;
  }
  void cancel() override { inner_->cancel(); }
  bool wait(std::chrono::milliseconds limit) override {
    const bool ended = inner_->wait(limit);
    if (ended) settle();
    return ended;
  }
  [[nodiscard]] seam::TransferStatus status() const override { return inner_->status(); }
  [[nodiscard]] std::size_t actualBytes() const override { return inner_->actualBytes(); }

 private:
  void settle() {
    if (counted_.exchange(false)) --limit_->inFlight;
  }

  std::unique_ptr<seam::BulkTransfer> inner_;
  std::shared_ptr<BulkLimit> limit_;
  std::atomic<bool> counted_{false};
};

class LimitedPort final : public seam::Port {
 public:
  LimitedPort(std::unique_ptr<seam::Port> inner, std::shared_ptr<BulkLimit> limit)
      : inner_(std::move(inner)), limit_(std::move(limit)) {}

  [[nodiscard]] seam::Speed speed() const override { return inner_->speed(); }
  bool claimInterface(std::uint8_t number) override { return inner_->claimInterface(number); }
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override {
    return inner_->newControlTransfer();
  }
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t endpoint) override {
    return std::make_unique<LimitedBulk>(inner_->newBulkTransfer(endpoint), limit_);
  }
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes) override {
    if (!limit_->lendsMemory) return inner_->allocateDeviceMemory(bytes);
    ++limit_->lent;
    return std::make_shared<std::uint8_t[]>(bytes);
  }
  seam::TransferStatus clearHalt(std::uint8_t endpoint) override {
    ++limit_->clears;
    return inner_->clearHalt(endpoint);
  }
  seam::TransferStatus reset() override { return inner_->reset(); }

 private:
  std::unique_ptr<seam::Port> inner_;
  std::shared_ptr<BulkLimit> limit_;
};

/// A host whose system accepts only a few bulk transfers at a time, or lends memory for them.
class LimitedHost final : public seam::Host {
 public:
  LimitedHost(std::shared_ptr<seam::Host> inner, std::shared_ptr<BulkLimit> limit)
      : inner_(std::move(inner)), limit_(std::move(limit)) {}

  std::vector<seam::DeviceInfo> devices() override { return inner_->devices(); }
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override {
    auto port = inner_->open(device);
    if (!port) return nullptr;
    return std::make_unique<LimitedPort>(std::move(port), limit_);
  }
  [[nodiscard]] std::string settingsFolder() const override { return inner_->settingsFolder(); }

 private:
  std::shared_ptr<seam::Host> inner_;
  std::shared_ptr<BulkLimit> limit_;
};

}  // namespace orvik::test
