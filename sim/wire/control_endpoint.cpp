// SPDX-License-Identifier: MIT
#include "sim/wire/control_endpoint.h"

#include <array>

#include "sim/hardware/answer.h"

namespace orvik::sim {
namespace {

enum StandardRequest : std::uint8_t {
  kGetStatus = 0,
  kClearFeature = 1,
  kSetFeature = 3,
  kGetDescriptor = 6,
  kGetConfiguration = 8,
  kSetConfiguration = 9,
  kGetInterface = 10,
  kSetInterface = 11,
};

enum Recipient : std::uint8_t { kToDevice = 0, kToInterface = 1, kToEndpoint = 2 };

constexpr std::uint16_t kEndpointHalt = 0;
constexpr std::uint8_t kTypeMask = 0x60;
constexpr std::uint8_t kStandard = 0x00;
constexpr std::uint8_t kVendor = 0x40;

std::uint8_t recipientOf(const seam::SetupPacket& setup) {
  return static_cast<std::uint8_t>(setup.requestType & 0x1FU);
}

}  // namespace

std::optional<std::size_t> ControlEndpoint::handle(BulkPipe::Lock& lock,
                                                   const seam::SetupPacket& setup,
                                                   std::span<std::uint8_t> data) {
  switch (setup.requestType & kTypeMask) {
    case kVendor:
      if (recipientOf(setup) != kToDevice) return std::nullopt;
      return camera_.request(setup, data);
    case kStandard:
      if ((setup.requestType & 0x80U) != 0) return answerStandard(setup, data);
      if (!data.empty() || !commandStandard(lock, setup)) return std::nullopt;
      return 0;
    default:
      return std::nullopt;
  }
}

std::optional<std::size_t> ControlEndpoint::answerStandard(const seam::SetupPacket& setup,
                                                           std::span<std::uint8_t> data) const {
  const std::uint8_t recipient = recipientOf(setup);
  switch (setup.request) {
    case kGetStatus: {
      const bool knownEndpoint = setup.index == 0 || setup.index == bulkEndpoint_;
      if (recipient > kToEndpoint || (recipient == kToEndpoint && !knownEndpoint) ||
          (recipient != kToEndpoint && setup.index != 0)) {
        return std::nullopt;
      }
      const bool halted =
          recipient == kToEndpoint && setup.index == bulkEndpoint_ && pipe_.halted();
      const std::array<std::uint8_t, 2> status = {halted ? std::uint8_t{1} : std::uint8_t{0}, 0};
      return give(status, data);
    }
    case kGetDescriptor: {
      const auto* descriptor =
          recipient == kToDevice
              ? descriptors_.find(static_cast<std::uint8_t>(setup.value >> 8U),
                                  static_cast<std::uint8_t>(setup.value), setup.index)
              : nullptr;
      if (descriptor == nullptr) return std::nullopt;
      return give(*descriptor, data);
    }
    case kGetConfiguration:
      if (recipient != kToDevice) return std::nullopt;
      return give(std::array<std::uint8_t, 1>{1}, data);
    case kGetInterface:
      if (recipient != kToInterface || setup.index != 0) return std::nullopt;
      return give(std::array<std::uint8_t, 1>{0}, data);
    default:
      return std::nullopt;
  }
}

bool ControlEndpoint::commandStandard(BulkPipe::Lock& lock, const seam::SetupPacket& setup) {
  const std::uint8_t recipient = recipientOf(setup);
  switch (setup.request) {
    case kClearFeature:
    case kSetFeature:
      return setFeature(lock, setup);
    case kSetConfiguration:
      return recipient == kToDevice && setup.value == 1;
    case kSetInterface:
      return recipient == kToInterface && setup.index == 0 && setup.value == 0;
    default:
      return false;
  }
}

bool ControlEndpoint::setFeature(BulkPipe::Lock& lock, const seam::SetupPacket& setup) {
  if (recipientOf(setup) != kToEndpoint || setup.value != kEndpointHalt) return false;
  // A halt of endpoint 0 ends with the next request.
  if (setup.index == 0) return true;
  if (setup.index != bulkEndpoint_) return false;
  if (setup.request == kSetFeature) {
    pipe_.halt(lock);
  } else {
    clearBulkHalt();
  }
  return true;
}

void ControlEndpoint::clearBulkHalt() {
  pipe_.clearHalt();
  pipeEmptied_();
}

}  // namespace orvik::sim
