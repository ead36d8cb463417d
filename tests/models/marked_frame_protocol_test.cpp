// SPDX-License-Identifier: MIT
#include "models/marked_frame_protocol.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace orvik {
namespace {

const MarkedFrameProtocol kProtocol(false);

std::vector<std::uint8_t> markedFrame(std::size_t size) {
  std::vector<std::uint8_t> frame(size);
  std::iota(frame.begin(), frame.end(), std::uint8_t{0});
  const std::vector<std::uint8_t> head = {0x7E, 0x5A, 0x34, 0x12};
  const std::vector<std::uint8_t> tail = {0x34, 0x12, 0xF0, 0x3C};
  std::copy(head.begin(), head.end(), frame.begin());
  std::copy(tail.begin(), tail.end(), frame.end() - 4);
  return frame;
}

TEST(MarkedFrameProtocolTest, EveryMarkCounts) {
  EXPECT_TRUE(kProtocol.hasMarks(markedFrame(64)));
  EXPECT_TRUE(kProtocol.hasMarks(markedFrame(8)));
  for (const std::size_t offset : {0U, 1U, 2U, 3U, 60U, 61U, 62U, 63U}) {
    auto frame = markedFrame(64);
    frame[offset] ^= 1;
    EXPECT_FALSE(kProtocol.hasMarks(frame)) << "byte " << offset;
  }
  EXPECT_FALSE(kProtocol.hasMarks({}));
  EXPECT_FALSE(kProtocol.hasMarks(std::vector<std::uint8_t>(6)));
}

TEST(MarkedFrameProtocolTest, MarksAreClearedAndMendedFromTwoRowsAway) {
  constexpr std::size_t kRow = 8;
  auto frame = markedFrame(8 * kRow);
  const auto before = frame;
  kProtocol.clearMarks(frame);
  for (const std::size_t offset : {0U, 1U, 2U, 3U, 60U, 61U, 62U, 63U}) {
    EXPECT_EQ(frame[offset], 0) << offset;
  }
  kProtocol.mendMarks(frame, kRow);
  for (std::size_t i = 0; i < frame.size(); ++i) {
    const bool head = i < 4;
    const bool tail = i >= frame.size() - 4;
    EXPECT_EQ(frame[i], before[head ? i + 2 * kRow : tail ? i - 2 * kRow : i]) << i;
  }
}

TEST(MarkedFrameProtocolTest, AFrameOfTwoRowsCannotBeMended) {
  auto frame = markedFrame(16);
  kProtocol.clearMarks(frame);
  const auto before = frame;
  kProtocol.mendMarks(frame, 8);
  EXPECT_EQ(frame, before);
}

}  // namespace
}  // namespace orvik
