// SPDX-License-Identifier: MIT
#include "usb/libusb_host.h"

#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <array>
#include <span>

#include "usb/libusb_context.h"
#include "usb/libusb_port.h"
#include "usb/system_attributes.h"

namespace orvik {
namespace {

/// Wait for cancelled transfers when the host is destroyed; they take a few milliseconds.
constexpr std::chrono::milliseconds kDrainLimit{200};

/// The deepest chain of hubs that USB allows.
constexpr std::size_t kMaxPortDepth = 7;

/// The devices present at one moment.
class DeviceList {
 public:
  explicit DeviceList(libusb_context* context)
      : count_(libusb_get_device_list(context, &devices_)) {}
  DeviceList(const DeviceList&) = delete;
  DeviceList& operator=(const DeviceList&) = delete;
  ~DeviceList() {
    if (count_ >= 0) libusb_free_device_list(devices_, 1);
  }

  [[nodiscard]] std::span<libusb_device* const> devices() const {
    if (count_ < 0) return {};
    return {devices_, static_cast<std::size_t>(count_)};
  }

 private:
  libusb_device** devices_ = nullptr;
  const ssize_t count_;
};

std::vector<std::uint8_t> portChain(libusb_device* device) {
  std::array<std::uint8_t, kMaxPortDepth> ports{};
  const int depth = libusb_get_port_numbers(device, ports.data(), static_cast<int>(ports.size()));
  return {ports.begin(), ports.begin() + std::max(depth, 0)};
}

seam::DeviceInfo infoOf(libusb_device* device) {
  seam::DeviceInfo info;
  info.location.bus = libusb_get_bus_number(device);
  info.location.ports = portChain(device);
  info.location.address = libusb_get_device_address(device);
  libusb_device_descriptor descriptor{};
  if (libusb_get_device_descriptor(device, &descriptor) == LIBUSB_SUCCESS) {
    info.vendorId = descriptor.idVendor;
    info.productId = descriptor.idProduct;
  }
  return info;
}

bool isDevice(libusb_device* device, const seam::DeviceInfo& wanted) {
  const seam::DeviceInfo info = infoOf(device);
  return info.location == wanted.location && info.vendorId == wanted.vendorId &&
         info.productId == wanted.productId;
}

class LibusbHost final : public seam::Host {
 public:
  explicit LibusbHost(std::shared_ptr<LibusbContext> context) : context_(std::move(context)) {}
  ~LibusbHost() override { context_->drain(kDrainLimit); }

  std::vector<seam::DeviceInfo> devices() override {
    context_->dropStaleEvents();
    const DeviceList list(context_->raw());
    std::vector<seam::DeviceInfo> found;
    found.reserve(list.devices().size());
    for (libusb_device* device : list.devices()) found.push_back(infoOf(device));
    return found;
  }

  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& wanted) override {
    const DeviceList list(context_->raw());
    for (libusb_device* device : list.devices()) {
      if (!isDevice(device, wanted)) continue;
      auto handle = LibusbHandle::open(context_, device);
      return handle ? std::make_unique<LibusbPort>(std::move(handle)) : nullptr;
    }
    return nullptr;
  }

  std::optional<std::string> serialNumber(const seam::DeviceInfo& device) override {
    return rememberedSerialNumber(device.location);
  }

  std::shared_ptr<seam::ChangeCount> changes() override {
    context_->dropStaleEvents();
    return context_->changes();
  }

  bool waitForChange(std::uint64_t seen, std::chrono::milliseconds timeout) override {
    const auto& count = context_->changes();
    if (!count || !context_->enter()) return false;
    const bool changed = count->waitForOther(seen, timeout);
    context_->leave();
    return changed;
  }

 private:
  const std::shared_ptr<LibusbContext> context_;
};

}  // namespace

std::shared_ptr<seam::Host> makeLibusbHost() {
  auto context = LibusbContext::create();
  return context ? std::make_shared<LibusbHost>(std::move(context)) : nullptr;
}

}  // namespace orvik
