// SPDX-License-Identifier: MIT
#include "models/marked_frame_protocol.h"

#include <algorithm>

namespace orvik {
namespace {

constexpr std::uint16_t kSensorStandby = 0x3000;
constexpr std::uint16_t kFpgaMode = 0;
constexpr std::uint16_t kFpgaExposure = 0x0B;

constexpr std::uint16_t kStartMark = 0x5A7E;
constexpr std::uint16_t kEndMark = 0x3CF0;
/// Bytes of the two words at each end of a frame.
constexpr std::size_t kMarkBytes = 4;

std::uint16_t wordAt(std::span<const std::uint8_t> frame, std::size_t offset) {
  return static_cast<std::uint16_t>(frame[offset] | frame[offset + 1] << 8);
}

}  // namespace

void MarkedFrameProtocol::halt(VendorLink& link, bool longExposure) const {
  link.writeFpga(kFpgaMode, longExposure ? 0xF1 : 0x31);
  link.writeSensorByte(kSensorStandby, 1);
}

void MarkedFrameProtocol::wake(VendorLink& link) const { link.writeSensorByte(kSensorStandby, 0); }

void MarkedFrameProtocol::run(VendorLink& link, bool longExposure) const {
  link.writeFpga(kFpgaMode, longExposure ? 0xE1 : 0x21);
}

void MarkedFrameProtocol::finish(VendorLink& link, bool longExposure) const {
  link.writeFpga(kFpgaMode, longExposure ? 0xF1 : 0x31);
  if (!keepsSensorAwake_) link.writeSensorByte(kSensorStandby, 1);
}

void MarkedFrameProtocol::beginExposure(VendorLink& link) const {
  link.writeFpga(kFpgaExposure, 1);
}

void MarkedFrameProtocol::endExposure(VendorLink& link) const { link.writeFpga(kFpgaExposure, 0); }

bool MarkedFrameProtocol::hasMarks(std::span<const std::uint8_t> frame) const {
  if (frame.size() < 2 * kMarkBytes) return false;
  const std::size_t end = frame.size();
  return wordAt(frame, 0) == kStartMark && wordAt(frame, end - 2) == kEndMark &&
         wordAt(frame, 2) == wordAt(frame, end - 4);
}

void MarkedFrameProtocol::clearMarks(std::span<std::uint8_t> frame) const {
  std::ranges::fill(frame.first(kMarkBytes), std::uint8_t{0});
  std::ranges::fill(frame.last(kMarkBytes), std::uint8_t{0});
}

// Two rows away the mosaic has the same colour.
void MarkedFrameProtocol::mendMarks(std::span<std::uint8_t> frame, std::size_t rowBytes) const {
  if (frame.size() < 3 * rowBytes || rowBytes < kMarkBytes) return;
  const std::size_t lastMark = frame.size() - kMarkBytes;
  std::ranges::copy(frame.subspan(2 * rowBytes, kMarkBytes), frame.begin());
  std::ranges::copy(frame.subspan(lastMark - 2 * rowBytes, kMarkBytes),
                    frame.last(kMarkBytes).begin());
}

}  // namespace orvik
