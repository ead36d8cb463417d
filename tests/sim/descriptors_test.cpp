// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/bench.h"

namespace orvik::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr std::uint8_t kGetDescriptor = 6;
constexpr std::uint8_t kGetStatus = 0;

std::optional<Bytes> descriptor(Bench& bench, int type, int index, int language, int length) {
  return bench.standardIn(0x80, kGetDescriptor, type * 256 + index, language, length);
}

Bench onUsb2() {
  sim::CameraOptions options;
  options.usb3Port = false;
  return Bench(options);
}

TEST(Descriptors, OnAUsb3Port) {
  Bench bench;
  EXPECT_EQ(bench.port().speed(), seam::Speed::kSuper);
  EXPECT_THAT(
      descriptor(bench, 1, 0, 0, 18).value(),
      ElementsAre(18, 1, 0x00, 0x03, 0, 0, 0, 9, 0x56, 0x4F, 0x00, 0x15, 0x00, 0x01, 1, 2, 3, 1));
  EXPECT_THAT(descriptor(bench, 2, 0, 0, 255).value(),
              ElementsAreArray(Bytes{9, 2,  31,   0, 1,    1,    0, 0x80, 50,  //
                                     9, 4,  0,    0, 1,    0xFF, 0, 0,    0,   //
                                     7, 5,  0x81, 2, 0x00, 0x04, 0,            //
                                     6, 48, 15,   0, 0,    0}));
  EXPECT_THAT(descriptor(bench, 15, 0, 0, 255).value(),
              ElementsAreArray(Bytes{5,  15, 22, 0, 2,           //
                                     7,  16, 2,  2, 0,    0, 0,  //
                                     10, 16, 3,  0, 0x0E, 0, 2, 10, 0xF4, 0x01}));
}

TEST(Descriptors, OnAUsb2Port) {
  Bench bench = onUsb2();
  EXPECT_EQ(bench.port().speed(), seam::Speed::kHigh);
  EXPECT_THAT(
      descriptor(bench, 1, 0, 0, 18).value(),
      ElementsAre(18, 1, 0x10, 0x02, 0, 0, 0, 64, 0x56, 0x4F, 0x00, 0x15, 0x00, 0x01, 1, 2, 3, 1));
  EXPECT_THAT(descriptor(bench, 2, 0, 0, 255).value(),
              ElementsAreArray(Bytes{9, 2, 25,   0, 1,    1,    0, 0x80, 200,  //
                                     9, 4, 0,    0, 1,    0xFF, 0, 0,    0,    //
                                     7, 5, 0x81, 2, 0x00, 0x02, 0}));
}

TEST(Descriptors, AnOlderCameraIsOneOfUsb2OnAnyPort) {
  for (const bool usb3Port : {true, false}) {
    sim::CameraOptions options;
    options.usb3Port = usb3Port;
    Bench bench(options, std::make_shared<ManualClock>(), "T06M_SC");
    EXPECT_EQ(bench.port().speed(), seam::Speed::kHigh);
    EXPECT_EQ(bench.host().cameras().front().info.location.bus, 1);
    EXPECT_THAT(descriptor(bench, 1, 0, 0, 18).value(),
                ElementsAre(18, 1, 0x00, 0x02, 0, 0, 0, 64, 0x56, 0x4F, 0x61, 0x06, 0x00, 0x01, 1,
                            2, 3, 1));
    EXPECT_THAT(descriptor(bench, 2, 0, 0, 255).value(),
                ElementsAreArray(Bytes{9, 2, 25,   0, 1,    1,    0, 0x80, 200,  //
                                       9, 4, 0,    0, 1,    0xFF, 0, 0,    0,    //
                                       7, 5, 0x82, 2, 0x00, 0x02, 0}));
    EXPECT_FALSE(descriptor(bench, 15, 0, 0, 255).has_value()) << "it has no BOS";
    EXPECT_EQ(bench.port().newBulkTransfer(0x81)->submit({{}, nullptr}), TransferStatus::kError);
  }
}

TEST(Descriptors, StringsAreUtf16InEnglish) {
  sim::CameraOptions options;
  options.serial = 0xCAFE01;
  Bench bench(options);
  EXPECT_THAT(descriptor(bench, 3, 0, 0, 255).value(), ElementsAre(4, 3, 0x09, 0x04));
  EXPECT_THAT(descriptor(bench, 3, 1, 0x0409, 255).value(),
              ElementsAre(8, 3, 'V', 0, 'e', 0, 'k', 0));
  const auto text = [&](int index) {
    const Bytes bytes = descriptor(bench, 3, index, 0x0409, 255).value();
    EXPECT_EQ(bytes.size(), bytes[0]);
    std::string letters;
    for (std::size_t n = 2; n < bytes.size(); n += 2) letters += static_cast<char>(bytes[n]);
    return letters;
  };
  EXPECT_EQ(text(2), "Vek T15C");
  EXPECT_EQ(text(3), "00CAFE01");
  EXPECT_FALSE(descriptor(bench, 3, 4, 0x0409, 255).has_value());
  EXPECT_FALSE(descriptor(bench, 3, 1, 0x0407, 255).has_value()) << "no German";
}

TEST(StandardRequests, TellConfigurationInterfaceAndHalt) {
  Bench bench;
  EXPECT_THAT(bench.standardIn(0x80, 8, 0, 0, 1).value(), ElementsAre(1));
  EXPECT_THAT(bench.standardIn(0x81, 10, 0, 0, 1).value(), ElementsAre(0));
  EXPECT_FALSE(bench.standardIn(0x81, 10, 0, 1, 1).has_value());
  EXPECT_THAT(bench.standardIn(0x80, kGetStatus, 0, 0, 2).value(), ElementsAre(0, 0));

  Bytes none;
  std::size_t moved = 0;
  EXPECT_EQ(bench.control({0x01, 11, 0, 0}, none, moved), TransferStatus::kOk);
  EXPECT_EQ(bench.control({0x01, 11, 1, 0}, none, moved), TransferStatus::kStalled);

  EXPECT_EQ(bench.control({0x02, 3, 0, 0x81}, none, moved), TransferStatus::kOk);
  EXPECT_THAT(bench.standardIn(0x82, kGetStatus, 0, 0x81, 2).value(), ElementsAre(1, 0));
  EXPECT_EQ(bench.control({0x02, 1, 0, 0x81}, none, moved), TransferStatus::kOk);
  EXPECT_THAT(bench.standardIn(0x82, kGetStatus, 0, 0x81, 2).value(), ElementsAre(0, 0));
  EXPECT_EQ(bench.control({0x02, 3, 0, 0x02}, none, moved), TransferStatus::kStalled);
}

}  // namespace
}  // namespace orvik::test
