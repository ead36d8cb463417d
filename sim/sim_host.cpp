// SPDX-License-Identifier: MIT
#include "sim/sim_host.h"

#include <algorithm>
#include <utility>

#include "seam/identity.h"
#include "sim/wire/bus.h"
#include "sim/wire/descriptors.h"
#include "sim/wire/device.h"
#include "sim/wire/port.h"

namespace orvik::sim {
namespace {

constexpr std::uint8_t kUsb2Bus = 1;
constexpr std::uint8_t kUsb3Bus = 2;
constexpr std::uint8_t kRootHubAddress = 1;
constexpr std::uint8_t kLastAddress = 127;
constexpr std::uint8_t kLastPort = kLastAddress - kRootHubAddress;

/// "VEK" and a number, so that the serial numbers of virtual cameras are known at sight.
constexpr std::uint32_t serialOf(int id) { return 0x56454B00U + static_cast<std::uint32_t>(id); }

}  // namespace

SimHost::SimHost(std::shared_ptr<seam::Clock> clock)
    : clock_(std::move(clock)),
      usb2_(std::make_shared<Bus>(Bus::kUsb2BytesPerSecond)),
      usb3_(std::make_shared<Bus>(Bus::kUsb3BytesPerSecond)) {}

SimHost::~SimHost() { unplugAll(); }

int SimHost::plug(const Model& model, const CameraOptions& options) {
  const std::lock_guard lock(mutex_);
  PluggedCamera camera;
  camera.usb3Port = options.usb3Port;
  seam::DeviceLocation& location = camera.info.location;
  location.bus = model.superSpeed() && options.usb3Port ? kUsb3Bus : kUsb2Bus;
  const std::uint8_t port = freePort(location.bus);
  if (port == 0) return 0;
  location.ports = {port};
  location.address = nextAddress(location.bus);
  camera.info.vendorId = identity::kVendorId;
  camera.info.productId = model.productId;
  camera.id = lastId_ + 1;
  camera.model = &model;
  camera.serial = options.serial.value_or(serialOf(camera.id));

  auto device = std::make_shared<Device>(model, options, camera.serial, camera.info, clock_,
                                         location.bus == kUsb3Bus ? usb3_ : usb2_);
  std::shared_ptr<fault::Faults> faults;
  if (!options.faults.rules.empty()) {
    faults = std::make_shared<fault::Faults>(options.faults, changes_);
  }
  cameras_.emplace(camera.id, Entry{camera, std::move(device), std::move(faults)});
  changes_->add();
  return ++lastId_;
}

bool SimHost::unplug(int id) {
  std::shared_ptr<Device> device;
  {
    const std::lock_guard lock(mutex_);
    const auto found = cameras_.find(id);
    if (found == cameras_.end()) return false;
    device = std::move(found->second.device);
    cameras_.erase(found);
  }
  changes_->add();
  device->unplug();
  return true;
}

void SimHost::unplugAll() {
  std::map<int, Entry> unplugged;
  {
    const std::lock_guard lock(mutex_);
    unplugged.swap(cameras_);
  }
  if (!unplugged.empty()) changes_->add();
  for (const auto& [id, entry] : unplugged) entry.device->unplug();
}

std::vector<PluggedCamera> SimHost::cameras() {
  const std::lock_guard lock(mutex_);
  std::vector<PluggedCamera> list;
  for (const auto& [id, entry] : cameras_) list.push_back(entry.camera);
  return list;
}

std::vector<GuideEvent> SimHost::guideLog(int id) {
  const std::lock_guard lock(mutex_);
  const auto found = cameras_.find(id);
  return found == cameras_.end() ? std::vector<GuideEvent>{} : found->second.device->guideLog();
}

std::vector<StrayRequest> SimHost::strays(int id) {
  const std::lock_guard lock(mutex_);
  const auto found = cameras_.find(id);
  return found == cameras_.end() ? std::vector<StrayRequest>{} : found->second.device->strays();
}

std::uint64_t SimHost::bytesLostOnLink(int id) {
  const std::lock_guard lock(mutex_);
  const auto found = cameras_.find(id);
  return found == cameras_.end() ? 0 : found->second.device->bytesLostOnLink();
}

std::optional<double> SimHost::sensorCelsius(int id) {
  const std::lock_guard lock(mutex_);
  const auto found = cameras_.find(id);
  if (found == cameras_.end()) return std::nullopt;
  return found->second.device->sensorCelsius();
}

std::vector<seam::DeviceInfo> SimHost::devices() {
  const std::lock_guard lock(mutex_);
  std::vector<seam::DeviceInfo> list;
  for (auto& [id, entry] : cameras_) {
    if (present(entry)) list.push_back(entry.camera.info);
  }
  return list;
}

std::unique_ptr<seam::Port> SimHost::open(const seam::DeviceInfo& device) {
  const std::lock_guard lock(mutex_);
  for (auto& [id, entry] : cameras_) {
    if (!present(entry) || entry.camera.info.location != device.location) continue;
    if (!entry.faults) return openPort(*entry.device);
    return entry.faults->open([&entry = entry] { return openPort(*entry.device); });
  }
  return nullptr;
}

std::optional<std::string> SimHost::serialNumber(const seam::DeviceInfo& device) {
  const std::lock_guard lock(mutex_);
  for (auto& [id, entry] : cameras_) {
    if (entry.camera.info == device) return serialText(entry.camera.serial);
  }
  return std::nullopt;
}

/// Whether the camera's script leaves it plugged in; each time that it comes back it has another
/// address.
bool SimHost::present(Entry& entry) {
  if (!entry.faults) return true;
  if (!entry.faults->present()) return false;
  if (const unsigned replugs = entry.faults->replugs(); replugs != entry.replugs) {
    entry.replugs = replugs;
    seam::DeviceLocation& location = entry.camera.info.location;
    location.address = nextAddress(location.bus);
  }
  return true;
}

std::uint8_t SimHost::freePort(std::uint8_t bus) const {
  for (std::uint8_t port = 1; port <= kLastPort; ++port) {
    const bool taken = std::ranges::any_of(cameras_, [&](const auto& each) {
      const seam::DeviceLocation& location = each.second.camera.info.location;
      return location.bus == bus && location.ports.front() == port;
    });
    if (!taken) return port;
  }
  return 0;
}

bool SimHost::addressTaken(std::uint8_t bus, std::uint8_t address) const {
  return std::ranges::any_of(cameras_, [&](const auto& each) {
    const seam::DeviceLocation& location = each.second.camera.info.location;
    return location.bus == bus && location.address == address;
  });
}

std::uint8_t SimHost::nextAddress(std::uint8_t bus) {
  // There are as many ports as addresses, so that where a port was free an address is.
  std::uint8_t& last = lastAddress_.try_emplace(bus, kRootHubAddress).first->second;
  do {
    last = last == kLastAddress ? std::uint8_t{kRootHubAddress + 1}
                                : static_cast<std::uint8_t>(last + 1);
  } while (addressTaken(bus, last));
  return last;
}

}  // namespace orvik::sim
