// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "seam/usb_host.h"

namespace orvik::test {

/// What the decorated host does differently; may be changed at any time.
struct Trouble {
  /// Bulk transfers that the system takes at a time; 0 for any number.
  std::atomic<int> mostInFlight{0};
  /// Whether another program holds the device.
  std::atomic<bool> heldByOther{false};
  /// Whether control transfers fail.
  std::atomic<bool> controlFails{false};
  /// The control transfer that fails, counted from now on; 0 for none.
  std::atomic<int> failingControl{0};
  /// Whether bulk transfers stall as soon as they are submitted.
  std::atomic<bool> bulkStalls{false};

  std::atomic<int> inFlight{0};
  std::atomic<int> highestInFlight{0};
  std::atomic<int> refusals{0};
  std::atomic<int> haltsCleared{0};
};

/// A bulk transfer that counts against the limit while it is in flight.
class TroubledBulk final : public seam::BulkTransfer {
 public:
  TroubledBulk(std::unique_ptr<seam::BulkTransfer> inner, std::shared_ptr<Trouble> trouble)
      : inner_(std::move(inner)), trouble_(std::move(trouble)) {}
  ~TroubledBulk() override { settle(); }

  seam::TransferStatus submit(seam::TransferBuffer buffer) override {
    if (trouble_->bulkStalls) {
      stalled_ = true;
      return seam::TransferStatus::kOk;
    }
    stalled_ = false;
    const int limit = trouble_->mostInFlight;
    if (limit != 0 && trouble_->inFlight >= limit) {
      ++trouble_->refusals;
      return seam::TransferStatus::kNoMemory;
    }
    const seam::TransferStatus status = inner_->submit(std::move(buffer));
    if (status == seam::TransferStatus::kOk) {
      counted_ = true;
      const int now = ++trouble_->inFlight;
      if (now > trouble_->highestInFlight) trouble_->highestInFlight = now;
    }
    return status;
  }
  void cancel() override { inner_->cancel(); }
  bool wait(std::chrono::milliseconds limit) override {
    const bool ended = stalled_ || inner_->wait(limit);
    if (ended) settle();
    return ended;
  }
  [[nodiscard]] seam::TransferStatus status() const override {
    return stalled_ ? seam::TransferStatus::kStalled : inner_->status();
  }
  [[nodiscard]] std::size_t actualBytes() const override {
    return stalled_ ? 0 : inner_->actualBytes();
  }

 private:
  void settle() {
    if (counted_.exchange(false)) --trouble_->inFlight;
  }

  std::unique_ptr<seam::BulkTransfer> inner_;
  std::shared_ptr<Trouble> trouble_;
  std::atomic<bool> counted_{false};
  std::atomic<bool> stalled_{false};
};

class FailingControl final : public seam::ControlTransfer {
 public:
  seam::TransferStatus submit(const seam::SetupPacket&, seam::TransferBuffer,
                              std::chrono::milliseconds) override {
    return seam::TransferStatus::kError;
  }
  void cancel() override {}
  bool wait(std::chrono::milliseconds) override { return true; }
  [[nodiscard]] seam::TransferStatus status() const override {
    return seam::TransferStatus::kError;
  }
  [[nodiscard]] std::size_t actualBytes() const override { return 0; }
};

class TroubledPort final : public seam::Port {
 public:
  TroubledPort(std::unique_ptr<seam::Port> inner, std::shared_ptr<Trouble> trouble)
      : inner_(std::move(inner)), trouble_(std::move(trouble)) {}

  [[nodiscard]] seam::Speed speed() const override { return inner_->speed(); }
  bool claimInterface(std::uint8_t number) override {
    return !trouble_->heldByOther && inner_->claimInterface(number);
  }
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override {
    const int left = trouble_->failingControl;
    if (left > 0) trouble_->failingControl = left - 1;
    if (trouble_->controlFails || left == 1) return std::make_unique<FailingControl>();
    return inner_->newControlTransfer();
  }
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t endpoint) override {
    return std::make_unique<TroubledBulk>(inner_->newBulkTransfer(endpoint), trouble_);
  }
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes) override {
    return inner_->allocateDeviceMemory(bytes);
  }
  seam::TransferStatus clearHalt(std::uint8_t endpoint) override {
    ++trouble_->haltsCleared;
    return inner_->clearHalt(endpoint);
  }
  seam::TransferStatus reset() override { return inner_->reset(); }

 private:
  std::unique_ptr<seam::Port> inner_;
  std::shared_ptr<Trouble> trouble_;
};

/// A host whose devices get into trouble.
class TroubledHost final : public seam::Host {
 public:
  TroubledHost(std::shared_ptr<seam::Host> inner, std::shared_ptr<Trouble> trouble)
      : inner_(std::move(inner)), trouble_(std::move(trouble)) {}

  std::vector<seam::DeviceInfo> devices() override { return inner_->devices(); }
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override {
    auto port = inner_->open(device);
    if (!port) return nullptr;
    return std::make_unique<TroubledPort>(std::move(port), trouble_);
  }

 private:
  std::shared_ptr<seam::Host> inner_;
  std::shared_ptr<Trouble> trouble_;
};

}  // namespace orvik::test
