// SPDX-License-Identifier: MIT
// Tests the timing and the frame protocol of the end-mark models.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "models/end_mark_protocol.h"
#include "models/end_mark_timing.h"

namespace orvik {
namespace {

using end_mark::exposureFor;

class SilentProtocol final : public EndMarkProtocol {
 public:
  using EndMarkProtocol::EndMarkProtocol;

 private:
  void stopSensor(VendorLink&) const override {}
  void runSensor(VendorLink&) const override {}
};

TEST(EndMarkTimingTest, ExposureAtItsBorders) {
  // 1200 cycles of 24000 kHz are 50 us.
  constexpr std::uint64_t kNever = 1'000'000'000;
  EXPECT_EQ(exposureFor(1, 480, 1200, 24000, kNever).lines, 1) << "at least one line";
  EXPECT_EQ(exposureFor(99, 480, 1200, 24000, kNever).lines, 1);
  EXPECT_EQ(exposureFor(100, 480, 1200, 24000, kNever).lines, 2);
  EXPECT_EQ(exposureFor(497 * 50, 480, 1200, 24000, kNever).frameLength, 498);
  EXPECT_EQ(exposureFor(498 * 50, 480, 1200, 24000, kNever).frameLength, 499);

  EXPECT_EQ(exposureFor(65534 * 50, 480, 1200, 24000, kNever).frameLength, 65535);
  const auto beyond = exposureFor(65535 * 50, 480, 1200, 24000, kNever);
  EXPECT_TRUE(beyond.isTimedByHost());
  EXPECT_EQ(beyond.frameLength, 498);
  EXPECT_FALSE(exposureFor(999'999, 480, 1200, 24000, 1'000'000).isTimedByHost());
  EXPECT_TRUE(exposureFor(1'000'000, 480, 1200, 24000, 1'000'000).isTimedByHost());
  EXPECT_TRUE(exposureFor(~std::uint64_t{0}, 480, 1200, 24000, kNever).isTimedByHost());
}

TEST(EndMarkProtocolTest, TheMarkIsTheLastFourBytes) {
  const SilentProtocol protocol(1 << 20);
  constexpr std::size_t kRow = 8;
  std::vector<std::uint8_t> frame(4 * kRow);
  std::iota(frame.begin(), frame.end(), std::uint8_t{0});
  EXPECT_FALSE(protocol.hasMarks(frame));
  const std::vector<std::uint8_t> mark = {0x11, 0xAA, 0x00, 0xBB};
  std::ranges::copy(mark, frame.end() - 4);
  EXPECT_TRUE(protocol.hasMarks(frame));
  EXPECT_FALSE(protocol.hasMarks(std::span(frame).first(3)));
  EXPECT_FALSE(protocol.hasMarks(std::span(frame).first(frame.size() - 1)));

  const std::vector<std::uint8_t> before = frame;
  protocol.clearMarks(frame);
  EXPECT_FALSE(protocol.hasMarks(frame));
  protocol.mendMarks(frame, kRow);
  for (std::size_t i = 0; i < frame.size(); ++i) {
    EXPECT_EQ(frame[i], i < frame.size() - 4 ? before[i] : before[i - 2 * kRow]) << i;
  }
}

}  // namespace
}  // namespace orvik
