// SPDX-License-Identifier: MIT
#include "models/marked_frame_protocol.h"

#include <algorithm>

#include "models/marked_registers.h"

namespace orvik {
namespace {

constexpr std::uint16_t haltMode(bool longExposure) {
  return longExposure ? fpga::kModeHaltTimedByHost : fpga::kModeHalt;
}

std::uint16_t wordAt(std::span<const std::uint8_t> frame, std::size_t offset) {
  return static_cast<std::uint16_t>(frame[offset] | frame[offset + 1] << 8);
}

}  // namespace

void MarkedFrameProtocol::halt(VendorLink& link, bool longExposure) const {
  link.writeFpga(fpga::kMode, haltMode(longExposure));
  link.writeSensorByte(sensor::kStandby, 1);
}

void MarkedFrameProtocol::wake(VendorLink& link) const {
  link.writeSensorByte(sensor::kStandby, 0);
}

void MarkedFrameProtocol::run(VendorLink& link, bool longExposure) const {
  link.writeFpga(fpga::kMode, longExposure ? fpga::kModeRunTimedByHost : fpga::kModeRun);
}

void MarkedFrameProtocol::finish(VendorLink& link, bool longExposure) const {
  link.writeFpga(fpga::kMode, haltMode(longExposure));
  if (!keepsSensorAwake_) link.writeSensorByte(sensor::kStandby, 1);
}

void MarkedFrameProtocol::beginExposure(VendorLink& link) const {
  link.writeFpga(fpga::kExposure, 1);
}

void MarkedFrameProtocol::endExposure(VendorLink& link) const {
  link.writeFpga(fpga::kExposure, 0);
}

bool MarkedFrameProtocol::hasMarks(std::span<const std::uint8_t> frame) const {
  if (frame.size() < 2 * mark::kBytes) return false;
  const std::size_t end = frame.size();
  return wordAt(frame, 0) == mark::kStart && wordAt(frame, end - 2) == mark::kEnd &&
         wordAt(frame, 2) == wordAt(frame, end - 4);
}

void MarkedFrameProtocol::clearMarks(std::span<std::uint8_t> frame) const {
  std::ranges::fill(frame.first(mark::kBytes), std::uint8_t{0});
  std::ranges::fill(frame.last(mark::kBytes), std::uint8_t{0});
}

// Two rows away the mosaic has the same colours.
void MarkedFrameProtocol::mendMarks(std::span<std::uint8_t> frame, std::size_t rowBytes) const {
  if (frame.size() < 3 * rowBytes || rowBytes < mark::kBytes) return;
  const std::size_t lastMark = frame.size() - mark::kBytes;
  std::ranges::copy(frame.subspan(2 * rowBytes, mark::kBytes), frame.begin());
  std::ranges::copy(frame.subspan(lastMark - 2 * rowBytes, mark::kBytes),
                    frame.last(mark::kBytes).begin());
}

}  // namespace orvik
