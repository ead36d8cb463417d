// SPDX-License-Identifier: MIT
#include "sim/wire/port.h"

#include <atomic>
#include <limits>
#include <utility>

namespace orvik::sim {
namespace {

using seam::TransferStatus;

/// Endpoint 0 answers while the transfer is being submitted, so none is ever left in flight.
class SimControlTransfer final : public seam::ControlTransfer {
 public:
  explicit SimControlTransfer(std::weak_ptr<Connection> connection)
      : connection_(std::move(connection)) {}

  TransferStatus submit(const seam::SetupPacket& setup, seam::TransferBuffer buffer,
                        std::chrono::milliseconds) override {
    const std::shared_ptr<Connection> connection = connection_.lock();
    if (!connection) return TransferStatus::kNoDevice;
    if (buffer.bytes.size() > std::numeric_limits<std::uint16_t>::max()) {
      return TransferStatus::kError;
    }
    const Device::Result result = connection->device->control(setup, buffer.bytes);
    bytes_.store(result.bytes, std::memory_order_relaxed);
    status_.store(result.status, std::memory_order_release);
    return result.status == TransferStatus::kNoDevice ? result.status : TransferStatus::kOk;
  }

  void cancel() override {}
  bool wait(std::chrono::milliseconds) override { return true; }
  [[nodiscard]] TransferStatus status() const override {
    return status_.load(std::memory_order_acquire);
  }
  [[nodiscard]] std::size_t actualBytes() const override {
    return bytes_.load(std::memory_order_relaxed);
  }

 private:
  std::weak_ptr<Connection> connection_;
  std::atomic<std::size_t> bytes_ = 0;
  std::atomic<TransferStatus> status_ = TransferStatus::kOk;
};

class SimBulkTransfer final : public seam::BulkTransfer {
 public:
  SimBulkTransfer(const std::shared_ptr<Connection>& connection, std::uint8_t endpoint)
      : device_(connection->device), connection_(connection), endpoint_(endpoint) {}
  ~SimBulkTransfer() override { device_->cancelBulk(request_); }

  TransferStatus submit(seam::TransferBuffer buffer) override {
    const std::shared_ptr<Connection> connection = connection_.lock();
    if (!connection) return TransferStatus::kNoDevice;
    return device_->submitBulk(connection, endpoint_, request_, std::move(buffer));
  }

  void cancel() override { device_->cancelBulk(request_); }
  bool wait(std::chrono::milliseconds limit) override { return device_->waitBulk(request_, limit); }
  [[nodiscard]] TransferStatus status() const override {
    return device_->resultOf(request_).status;
  }
  [[nodiscard]] std::size_t actualBytes() const override {
    return device_->resultOf(request_).bytes;
  }

 private:
  const std::shared_ptr<Device> device_;
  const std::weak_ptr<Connection> connection_;
  const std::uint8_t endpoint_;
  const BulkPipe::Request request_ = std::make_shared<BulkRequest>();
};

class SimPort final : public seam::Port {
 public:
  explicit SimPort(std::shared_ptr<Connection> connection) : connection_(std::move(connection)) {}

  [[nodiscard]] seam::Speed speed() const override { return device().speed(); }

  bool claimInterface(std::uint8_t number) override { return device().claim(*connection_, number); }

  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override {
    return std::make_unique<SimControlTransfer>(connection_);
  }
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t endpoint) override {
    return std::make_unique<SimBulkTransfer>(connection_, endpoint);
  }

  /// None: the camera's copy into a transfer stands for that of a kernel, and memory of its own
  /// would add a copy that no system needs.
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t) override { return nullptr; }

  TransferStatus clearHalt(std::uint8_t endpoint) override {
    return device().clearHalt(*connection_, endpoint);
  }
  TransferStatus reset() override { return device().reset(); }

 private:
  [[nodiscard]] Device& device() const { return *connection_->device; }

  const std::shared_ptr<Connection> connection_;
};

}  // namespace

std::unique_ptr<seam::Port> openPort(Device& device) {
  std::shared_ptr<Connection> connection = device.connect();
  if (!connection) return nullptr;
  return std::make_unique<SimPort>(std::move(connection));
}

}  // namespace orvik::sim
