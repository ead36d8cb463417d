// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>

#include "sim/bench.h"

namespace orvik::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

constexpr int kProcessor = 0xE600;

Bytes helper() {
  constexpr std::string_view kMark = "ORVIK-FLASH-HELP";
  Bytes image(kMark.begin(), kMark.end());
  image.resize(2048);
  return image;
}

TEST(BridgeCore, MemoryReadsAsWritten) {
  Bench bench;
  EXPECT_THAT(bench.in(0xA0, 0, 0, 3).value(), Each(0));
  EXPECT_EQ(bench.out(0xA0, 0xFFFE, 1, {1, 2, 3, 4}), TransferStatus::kOk);
  EXPECT_THAT(bench.in(0xA0, 0xFFFF, 1, 2).value(), ElementsAre(2, 3));
  EXPECT_THAT(bench.in(0xA0, 0, 2, 2).value(), ElementsAre(3, 4)) << "the address has 32 bits";
  EXPECT_EQ(bench.out(0xA0, 0xFFFF, 7, {1, 2}), TransferStatus::kStalled);
  EXPECT_FALSE(bench.in(0xA0, 0, 8, 1).has_value());
}

TEST(BridgeCore, AHeldProcessorServesNothingButItsMemory) {
  Bench bench;
  ASSERT_EQ(bench.out(0xA0, kProcessor, 0, {1}), TransferStatus::kOk);
  EXPECT_FALSE(bench.in(0xAD, 0, 0, 2).has_value());
  EXPECT_EQ(bench.out(0xA9), TransferStatus::kStalled);
  EXPECT_EQ(bench.out(0xA0, 0, 0, Bytes(2048, 7)), TransferStatus::kOk);
  ASSERT_EQ(bench.out(0xA0, kProcessor, 0, {0}), TransferStatus::kOk);
  EXPECT_TRUE(bench.in(0xAD, 0, 0, 2).has_value()) << "whatever was loaded serves as firmware";
}

TEST(BridgeCore, TheFlashHelperReachesTheBootEeprom) {
  Bench bench;
  bench.out(0xA0, kProcessor, 0, {1});
  bench.out(0xA0, 0, 0, helper());
  EXPECT_EQ(bench.out(0xA9, 0, 0, {1, 2}), TransferStatus::kStalled) << "it does not run yet";
  bench.out(0xA0, kProcessor, 0, {0});
  EXPECT_THAT(bench.in(0xA9, 0xF000, 0, 4096).value(), Each(0xFF));
  EXPECT_EQ(bench.out(0xA9, 0xF000, 0, Bytes(4096, 5)), TransferStatus::kOk);
  EXPECT_EQ(bench.out(0xA9, 0xF001, 0, Bytes(4096, 5)), TransferStatus::kStalled);
  EXPECT_FALSE(bench.in(0xAD, 0, 0, 2).has_value()) << "the helper is no camera firmware";

  bench.out(0xA0, 0, 0, Bytes(16, 0));
  bench.out(0xA0, kProcessor, 0, {0});
  EXPECT_THAT(bench.in(0xBA, 0, 0xF000, 4096).value(), Each(5)) << "the same EEPROM";
  EXPECT_EQ(bench.out(0xA9, 0, 0, {1, 2}), TransferStatus::kStalled);
}

TEST(BridgeCore, TheEepromIsAloneOnItsBus) {
  Bench bench;
  EXPECT_EQ(bench.out(0xBA, 0, 0xF800, Bytes(2048, 9)), TransferStatus::kOk);
  EXPECT_THAT(bench.in(0xBA, 0, 0xF800, 2048).value(), Each(9));
  EXPECT_THAT(bench.in(0xBA, 0, 0xF7FF, 1).value(), ElementsAre(0xFF));
  EXPECT_EQ(bench.out(0xBA, 0, 0xF801, Bytes(2048, 9)), TransferStatus::kStalled);
  EXPECT_EQ(bench.out(0xBA, 1, 0, Bytes(2048, 9)), TransferStatus::kStalled);
  EXPECT_EQ(bench.out(0xB5, 0, 27), TransferStatus::kOk);
}

}  // namespace
}  // namespace orvik::test
