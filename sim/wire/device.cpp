// SPDX-License-Identifier: MIT
#include "sim/wire/device.h"

#include <algorithm>
#include <utility>

namespace orvik::sim {
namespace {

using seam::TransferStatus;
using Lock = BulkPipe::Lock;

/// Longer than any wait, and short enough to be added to a point in time.
constexpr std::chrono::milliseconds kLongestWait = std::chrono::hours(24 * 365);

LinkOptions linkOf(const CameraOptions& options) {
  return options.pace == Pace::kFree ? LinkOptions::ideal() : options.link;
}

}  // namespace

Connection::~Connection() { device->disconnect(*this); }

Device::Device(const Model& model, const CameraOptions& options, std::uint32_t serial,
               seam::DeviceInfo info, const std::shared_ptr<seam::Clock>& clock,
               const std::shared_ptr<Bus>& bus)
    : info_(std::move(info)),
      speed_(model.superSpeed() && options.usb3Port ? seam::Speed::kSuper : seam::Speed::kHigh),
      bulkEndpoint_(model.bulkEndpoint()),
      observer_(options.controlObserver),
      clock_(clock),
      latency_(linkOf(options).latency),
      descriptors_(model, speed_ == seam::Speed::kSuper, serial),
      camera_(model, options, clock),
      pipe_(Descriptors::bulkPacketBytes(speed_ == seam::Speed::kSuper)),
      streamer_(mutex_, camera_, pipe_, clock, options, CameraLink(bus, linkOf(options)),
                PictureMaker(model, options, serial)),
      endpoint0_(descriptors_, bulkEndpoint_, camera_, pipe_, [this] { streamer_.pipeCleared(); }) {
}

Device::~Device() { unplug(); }

std::shared_ptr<Connection> Device::connect() {
  auto connection = std::make_shared<Connection>(shared_from_this());
  const Lock lock(mutex_);
  ++connections_;
  streamer_.setHostPresent(true);
  return gone_ ? nullptr : connection;
}

void Device::disconnect(const Connection& connection) {
  const Lock lock(mutex_);
  if (claimedBy_ == &connection) claimedBy_ = nullptr;
  if (--connections_ == 0) streamer_.setHostPresent(false);
}

void Device::unplug() {
  {
    Lock lock(mutex_);
    gone_ = true;
    streamer_.stop();
    pipe_.endAll(lock, TransferStatus::kNoDevice);
  }
  streamer_.join();
}

bool Device::claim(const Connection& connection, std::uint8_t interface) {
  const Lock lock(mutex_);
  if (gone_ || interface != 0) return false;
  if (claimedBy_ == nullptr) claimedBy_ = &connection;
  return claimedBy_ == &connection;
}

Device::Result Device::control(const seam::SetupPacket& setup, std::span<std::uint8_t> data) {
  const std::lock_guard order(controlMutex_);
  if (latency_.count() > 0) clock_->sleepFor(latency_);
  const bool toHost = (setup.requestType & 0x80U) != 0;
  const bool isVendor = (setup.requestType & 0x60U) == 0x40U;
  Result result;
  {
    Lock lock(mutex_);
    streamer_.advance();
    if (gone_) {
      result.status = TransferStatus::kNoDevice;
    } else if (const auto moved = endpoint0_.handle(lock, setup, data)) {
      result.bytes = *moved;
    } else {
      result.status = TransferStatus::kStalled;
    }
    if (isVendor && !toHost) streamer_.prepare();
    streamer_.update();
  }
  if (observer_) {
    observer_({setup, toHost ? data.first(result.bytes) : data, result.status});
  }
  return result;
}

TransferStatus Device::submitBulk(const std::shared_ptr<Connection>& connection,
                                  std::uint8_t endpoint, const BulkPipe::Request& request,
                                  seam::TransferBuffer buffer) {
  Lock lock(mutex_);
  if (gone_) return TransferStatus::kNoDevice;
  if (endpoint != bulkEndpoint_ || claimedBy_ != connection.get() || request->inFlight ||
      buffer.bytes.empty()) {
    return TransferStatus::kError;
  }
  request->bytes = buffer.bytes;
  request->owner = std::move(buffer.owner);
  request->connection = connection;
  pipe_.submit(lock, request);
  streamer_.wake(lock);
  return TransferStatus::kOk;
}

void Device::cancelBulk(const BulkPipe::Request& request) {
  Lock lock(mutex_);
  if (request->inFlight) pipe_.cancel(lock, request);
}

bool Device::waitBulk(const BulkPipe::Request& request, std::chrono::milliseconds limit) {
  Lock lock(mutex_);
  // A wait until now would put the thread to sleep, and set a timer to wake it.
  if (limit <= std::chrono::milliseconds::zero()) return !request->inFlight;
  return request->done.wait_for(lock, std::min(limit, kLongestWait),
                                [&] { return !request->inFlight; });
}

Device::Result Device::resultOf(const BulkPipe::Request& request) {
  const Lock lock(mutex_);
  return {request->status, request->filled};
}

TransferStatus Device::clearHalt(const Connection& connection, std::uint8_t endpoint) {
  const Lock lock(mutex_);
  if (gone_) return TransferStatus::kNoDevice;
  if (endpoint != bulkEndpoint_ || claimedBy_ != &connection || pipe_.ready()) {
    return TransferStatus::kError;
  }
  endpoint0_.clearBulkHalt();
  return TransferStatus::kOk;
}

TransferStatus Device::reset() {
  const Lock lock(mutex_);
  if (gone_) return TransferStatus::kNoDevice;
  if (pipe_.ready()) return TransferStatus::kError;
  camera_.busReset();
  endpoint0_.clearBulkHalt();
  streamer_.update();
  return TransferStatus::kOk;
}

std::vector<GuideEvent> Device::guideLog() {
  const Lock lock(mutex_);
  return camera_.guidePort().log();
}

std::vector<StrayRequest> Device::strays() {
  const Lock lock(mutex_);
  return camera_.strays();
}

std::uint64_t Device::bytesLostOnLink() {
  const Lock lock(mutex_);
  return streamer_.bytesLost();
}

double Device::sensorCelsius() {
  const Lock lock(mutex_);
  return camera_.sensorCelsius();
}

}  // namespace orvik::sim
