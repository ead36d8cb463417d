// SPDX-License-Identifier: MIT
#include "models/end_mark_protocol.h"

#include <algorithm>
#include <array>

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr std::uint16_t kFpgaExposure = 0x0B;
constexpr std::array<std::uint8_t, 4> kMark = {0x11, 0xAA, 0x00, 0xBB};

}  // namespace

// A frame in one transfer arrives complete or not at all; several transfers share the bus with
// others.
TimeoutLaw EndMarkProtocol::timeoutLaw(std::size_t readsPerFrame) const {
  return {.frameTimes = 1, .margin = readsPerFrame <= 1 ? 2ms : 10ms};
}

void EndMarkProtocol::halt(VendorLink& link, bool) const { stopSensor(link); }

void EndMarkProtocol::wake(VendorLink&) const {}

void EndMarkProtocol::run(VendorLink& link, bool) const { runSensor(link); }

void EndMarkProtocol::finish(VendorLink& link, bool) const { stopSensor(link); }

void EndMarkProtocol::beginExposure(VendorLink& link) const { link.writeFpga(kFpgaExposure, 1); }

void EndMarkProtocol::endExposure(VendorLink& link) const { link.writeFpga(kFpgaExposure, 0); }

bool EndMarkProtocol::hasMarks(std::span<const std::uint8_t> frame) const {
  return frame.size() >= kMark.size() && std::ranges::equal(frame.last(kMark.size()), kMark);
}

void EndMarkProtocol::clearMarks(std::span<std::uint8_t> frame) const {
  std::ranges::fill(frame.last(kMark.size()), std::uint8_t{0});
}

// Two rows away the mosaic has the same colours.
void EndMarkProtocol::mendMarks(std::span<std::uint8_t> frame, std::size_t rowBytes) const {
  if (frame.size() < 3 * rowBytes || rowBytes < kMark.size()) return;
  const std::size_t mark = frame.size() - kMark.size();
  std::ranges::copy(frame.subspan(mark - 2 * rowBytes, kMark.size()),
                    frame.last(kMark.size()).begin());
}

}  // namespace orvik
