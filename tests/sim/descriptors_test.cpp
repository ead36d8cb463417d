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

TEST(Descriptors, FollowModelAndPort) {
  using U8 = std::uint8_t;
  struct Case {
    const char* model;
    bool usb3Port;
    seam::Speed speed;
    U8 usbLow, usbHigh, packet0, productLow, productHigh, milliamperes, endpoint, packetHigh;
  };
  for (const Case& c :
       {Case{"T15C", true, seam::Speed::kSuper, 0x00, 0x03, 9, 0x00, 0x15, 50, 0x81, 0x04},
        Case{"T15C", false, seam::Speed::kHigh, 0x10, 0x02, 64, 0x00, 0x15, 200, 0x81, 0x02},
        // An older camera is one of USB 2 on any port.
        Case{"T06M_SC", true, seam::Speed::kHigh, 0x00, 0x02, 64, 0x61, 0x06, 200, 0x82, 0x02},
        Case{"T06M_SC", false, seam::Speed::kHigh, 0x00, 0x02, 64, 0x61, 0x06, 200, 0x82, 0x02}}) {
    SCOPED_TRACE(std::string(c.model) + (c.usb3Port ? " on USB 3" : " on USB 2"));
    sim::CameraOptions options;
    options.usb3Port = c.usb3Port;
    Bench bench(options, std::make_shared<ManualClock>(), c.model);
    const bool super = c.speed == seam::Speed::kSuper;
    EXPECT_EQ(bench.port().speed(), c.speed);
    EXPECT_EQ(bench.host().cameras().front().info.location.bus, super ? 2 : 1);
    EXPECT_EQ(descriptor(bench, 1, 0, 0, 18).value(),
              (Bytes{18, 1, c.usbLow, c.usbHigh, 0, 0, 0, c.packet0, 0x56, 0x4F, c.productLow,
                     c.productHigh, 0x00, 0x01, 1, 2, 3, 1}));
    Bytes configuration = {9, 2,    U8(super ? 31 : 25),
                           0, 1,    1,
                           0, 0x80, c.milliamperes,  //
                           9, 4,    0,
                           0, 1,    0xFF,
                           0, 0,    0,  //
                           7, 5,    c.endpoint,
                           2, 0x00, c.packetHigh,
                           0};
    if (super) configuration.insert(configuration.end(), {6, 48, 15, 0, 0, 0});
    EXPECT_EQ(descriptor(bench, 2, 0, 0, 255).value(), configuration);
    EXPECT_EQ(descriptor(bench, 15, 0, 0, 255).has_value(), c.endpoint == 0x81) << "BOS";
  }
  Bench bench;
  EXPECT_THAT(descriptor(bench, 15, 0, 0, 255).value(),
              ElementsAreArray(Bytes{5,  15, 22, 0, 2,           //
                                     7,  16, 2,  2, 0,    0, 0,  //
                                     10, 16, 3,  0, 0x0E, 0, 2, 10, 0xF4, 0x01}));
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
