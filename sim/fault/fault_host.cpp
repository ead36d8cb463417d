// SPDX-License-Identifier: MIT
#include "sim/fault/fault_host.h"

#include <algorithm>

namespace orvik::fault {
namespace {

constexpr std::uint8_t kLastAddress = 127;

}  // namespace

FaultHost::FaultHost(std::shared_ptr<seam::Host> inner, Script script)
    : inner_(std::move(inner)), script_(std::move(script)) {}

void FaultHost::setScript(const Script& script) {
  const std::lock_guard lock(mutex_);
  script_ = script;
  for (const auto& [socket, guest] : guests_) guest.faults->setScript(script);
}

std::uint64_t FaultHost::struck(Action action) const {
  const std::lock_guard lock(mutex_);
  std::uint64_t sum = 0;
  for (const auto& [socket, guest] : guests_) sum += guest.faults->struck(action);
  return sum;
}

/// Updates the guests from the host below. A device that was plugged in again there is a new guest.
void FaultHost::update() {
  for (const seam::DeviceInfo& below : inner_->devices()) {
    Guest& guest = guests_[{below.location.bus, below.location.ports}];
    if (!guest.faults || guest.below.location != below.location) {
      guest = {below, below.location.address, 0, std::make_shared<Faults>(script_, changes())};
    }
    if (!guest.faults->present()) continue;
    if (const unsigned replugs = guest.faults->replugs(); replugs != guest.replugs) {
      guest.replugs = replugs;
      guest.address = freeAddress(below.location.bus);
    }
  }
}

std::uint8_t FaultHost::freeAddress(std::uint8_t bus) const {
  // From the highest address down: the host below assigns the low ones first.
  for (std::uint8_t address = kLastAddress; address > 1; --address) {
    const bool taken = std::ranges::any_of(guests_, [&](const auto& each) {
      return each.first.first == bus &&
             (each.second.address == address || each.second.below.location.address == address);
    });
    if (!taken) return address;
  }
  return kLastAddress;
}

std::optional<std::string> FaultHost::serialNumber(const seam::DeviceInfo& device) {
  const auto guest = guestAt(device);
  return guest ? inner_->serialNumber(guest->below) : std::nullopt;
}

std::vector<seam::DeviceInfo> FaultHost::devices() {
  const std::lock_guard lock(mutex_);
  update();
  std::vector<seam::DeviceInfo> list;
  for (seam::DeviceInfo& device : inner_->devices()) {
    const auto found = guests_.find({device.location.bus, device.location.ports});
    if (found == guests_.end() || !found->second.faults->present()) continue;
    device.location.address = found->second.address;
    list.push_back(std::move(device));
  }
  return list;
}

/// The guest that `device` is here, if its address is still the one that it was listed with.
std::optional<FaultHost::Guest> FaultHost::guestAt(const seam::DeviceInfo& device) {
  const std::lock_guard lock(mutex_);
  update();
  const auto found = guests_.find({device.location.bus, device.location.ports});
  if (found == guests_.end() || found->second.address != device.location.address) {
    return std::nullopt;
  }
  return found->second;
}

std::unique_ptr<seam::Port> FaultHost::open(const seam::DeviceInfo& device) {
  const auto guest = guestAt(device);
  if (!guest) return nullptr;
  return guest->faults->open([&] { return inner_->open(guest->below); });
}

}  // namespace orvik::fault
