// SPDX-License-Identifier: MIT
#include "link/safe_requests.h"

namespace orvik {
namespace {

constexpr std::uint16_t kDriveOff = 255;
constexpr std::size_t kGuideLines = 4;

}  // namespace

SafeRequests::Words SafeRequests::wordsOf(SafeRequest request) {
  switch (request) {
    case SafeRequest::kGuideOff0:
    case SafeRequest::kGuideOff1:
    case SafeRequest::kGuideOff2:
    case SafeRequest::kGuideOff3:
      return {VendorRequest::kGuideOff, static_cast<std::uint16_t>(request)};
    case SafeRequest::kCoolerOff:
      return {VendorRequest::kCoolerDrive, kDriveOff};
    case SafeRequest::kStopStreaming:
      return {VendorRequest::kStopStreaming, 0};
    case SafeRequest::kBusToStream:
      break;
  }
  return {VendorRequest::kSwitchBus, 1};
}

std::optional<SafeRequest> SafeRequests::settledBy(VendorRequest request, std::uint16_t value) {
  switch (request) {
    case VendorRequest::kGuideOff:
      if (value >= kGuideLines) return std::nullopt;
      return guideOff(value);
    case VendorRequest::kCoolerDrive:
      if (value != kDriveOff) return std::nullopt;
      return SafeRequest::kCoolerOff;
    case VendorRequest::kStopStreaming:
      return SafeRequest::kStopStreaming;
    case VendorRequest::kSwitchBus:
      if (value == 0) return std::nullopt;
      return SafeRequest::kBusToStream;
    default:
      return std::nullopt;
  }
}

std::optional<SafeRequest> SafeRequests::endangeredBy(VendorRequest request, std::uint16_t value) {
  switch (request) {
    case VendorRequest::kGuideOn:
      if (value >= kGuideLines) return std::nullopt;
      return guideOff(value);
    case VendorRequest::kCoolerDrive:
      if (value == kDriveOff) return std::nullopt;
      return SafeRequest::kCoolerOff;
    case VendorRequest::kStartStreaming:
      return SafeRequest::kStopStreaming;
    case VendorRequest::kSwitchBus:
      if (value != 0) return std::nullopt;
      return SafeRequest::kBusToStream;
    default:
      return std::nullopt;
  }
}

void SafeRequests::demandAllOwed() {
  for (Entry& entry : entries_) {
    if (entry.state == State::kOwed) entry.state = State::kDue;
  }
}

void SafeRequests::demandAll(bool hasCooler) {
  for (Entry& entry : entries_) entry.state = State::kDue;
  if (!hasCooler) settle(SafeRequest::kCoolerOff);
}

std::optional<SafeRequest> SafeRequests::nextDue(SafeRequest from) const {
  SafeRequest request = from;
  do {
    if (isDue(request)) return request;
    request = after(request);
  } while (request != from);
  return std::nullopt;
}

SafeRequest SafeRequests::after(SafeRequest request) {
  return static_cast<SafeRequest>((static_cast<std::size_t>(request) + 1) % kCount);
}

void SafeRequests::forgetTries() {
  for (Entry& entry : entries_) entry.tried = false;
}

}  // namespace orvik
