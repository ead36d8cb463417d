// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "seam/clock.h"
#include "seam/usb_host.h"
#include "sim/camera_options.h"
#include "sim/hardware/camera.h"
#include "sim/models.h"
#include "sim/stream/streamer.h"
#include "sim/wire/bulk_pipe.h"
#include "sim/wire/bus.h"
#include "sim/wire/control_endpoint.h"
#include "sim/wire/descriptors.h"

namespace orvik::sim {

class Device;

/// One opening of a device. It closes when its port has been dropped and its last transfer in
/// flight has completed: each of them shares it.
struct Connection {
  explicit Connection(std::shared_ptr<Device> opened) : device(std::move(opened)) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  const std::shared_ptr<Device> device;
};

/// A plugged camera as the bus sees it. One lock guards all of its state; it is never held while
/// picture data is made or copied. Any thread.
class Device : public std::enable_shared_from_this<Device> {
 public:
  Device(const Model& model, const CameraOptions& options, std::uint32_t serial,
         seam::DeviceInfo info, const std::shared_ptr<seam::Clock>& clock,
         const std::shared_ptr<Bus>& bus);
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  ~Device();

  [[nodiscard]] const seam::DeviceInfo& info() const { return info_; }
  [[nodiscard]] seam::Speed speed() const { return speed_; }

  /// @return null when the device is gone.
  std::shared_ptr<Connection> connect();

  /// Ends everything in flight with kNoDevice, and the streaming thread.
  void unplug();

  bool claim(const Connection& connection, std::uint8_t interface);

  /// How a transfer ended.
  struct Result {
    seam::TransferStatus status = seam::TransferStatus::kOk;
    std::size_t bytes = 0;
  };
  Result control(const seam::SetupPacket& setup, std::span<std::uint8_t> data);

  /// Puts `request`, whose buffer is filled in, in flight.
  seam::TransferStatus submitBulk(const std::shared_ptr<Connection>& connection,
                                  std::uint8_t endpoint, const BulkPipe::Request& request,
                                  seam::TransferBuffer buffer);
  void cancelBulk(const BulkPipe::Request& request);
  /// @return true when `request` is not in flight any more.
  bool waitBulk(const BulkPipe::Request& request, std::chrono::milliseconds limit);
  /// Of the last completed submission.
  Result resultOf(const BulkPipe::Request& request);

  seam::TransferStatus clearHalt(const Connection& connection, std::uint8_t endpoint);
  seam::TransferStatus reset();

  [[nodiscard]] std::vector<GuideEvent> guideLog();
  [[nodiscard]] std::vector<StrayRequest> strays();
  [[nodiscard]] std::uint64_t bytesLostOnLink();
  /// Degrees Celsius.
  [[nodiscard]] double sensorCelsius();

 private:
  friend struct Connection;
  void disconnect(const Connection& connection);

  const seam::DeviceInfo info_;
  const seam::Speed speed_;
  const std::uint8_t bulkEndpoint_;
  const ControlObserver observer_;
  const std::shared_ptr<seam::Clock> clock_;
  const std::chrono::microseconds latency_;  ///< of a control transfer
  std::mutex controlMutex_;  ///< endpoint 0 carries one transfer at a time; taken before mutex_

  std::mutex mutex_;
  Descriptors descriptors_;
  Camera camera_;
  BulkPipe pipe_;
  Streamer streamer_;
  ControlEndpoint endpoint0_;
  int connections_ = 0;
  const Connection* claimedBy_ = nullptr;
  bool gone_ = false;
};

}  // namespace orvik::sim
