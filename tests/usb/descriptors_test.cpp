// SPDX-License-Identifier: MIT
#include "usb/descriptors.h"

#include <gtest/gtest.h>

#include <utility>

#include "t15c_descriptors.h"

namespace orvik::descriptors {
namespace {

using testing::Bytes;
using testing::t15cBos;
using testing::t15cConfiguration;

/// Replaces `removed` bytes at `at` with others and corrects the total length.
Bytes spliced(Bytes bytes, std::ptrdiff_t at, std::ptrdiff_t removed, const Bytes& put) {
  bytes.erase(bytes.begin() + at, bytes.begin() + at + removed);
  bytes.insert(bytes.begin() + at, put.begin(), put.end());
  bytes[2] = static_cast<std::uint8_t>(bytes.size());
  bytes[3] = static_cast<std::uint8_t>(bytes.size() >> 8);
  return bytes;
}

Bytes with(Bytes bytes, std::size_t at, std::uint8_t value) {
  bytes.at(at) = value;
  return bytes;
}

Bytes repeated(const Bytes& bytes, int times) {
  Bytes all;
  for (int i = 0; i < times; ++i) all.insert(all.end(), bytes.begin(), bytes.end());
  return all;
}

/// A configuration header followed by `rest`.
Bytes configurationOf(const Bytes& rest) {
  return spliced({9, 2, 0, 0, 1, 1, 0, 0x80, 50}, 9, 0, rest);
}

TEST(Descriptors, RefusesMalformedDevices) {
  EXPECT_TRUE(parseDevice(testing::t15cDevice()));
  EXPECT_FALSE(parseDevice({}));
  EXPECT_FALSE(parseDevice(Bytes(17, 17)));
  EXPECT_FALSE(parseDevice(with(testing::t15cDevice(), 0, 17)));
  EXPECT_FALSE(parseDevice(with(testing::t15cDevice(), 1, 2)));
}

TEST(Descriptors, CountsAlternateSettingsAndStopsAtEightInterfaces) {
  Bytes rest;
  for (std::uint8_t i = 0; i < 9; ++i) {
    const Bytes interface = {9, 4, static_cast<std::uint8_t>(i / 3), i, 0, 0, 0, 0, 0};
    rest.insert(rest.end(), interface.begin(), interface.end());
  }
  // The bytes after the eighth interface are not parsed, even if they are invalid.
  rest.push_back(0);
  const auto configuration = parseConfiguration(configurationOf(rest), Companions::kNone);
  ASSERT_TRUE(configuration);
  ASSERT_EQ(configuration->interfaces.size(), 8U);
  EXPECT_EQ(configuration->interfaces[0].alternateSettingCount, 3);
  EXPECT_EQ(configuration->interfaces[7].alternateSettingCount, 2);
}

TEST(Descriptors, SkipsElevenForeignersAmongEndpoints) {
  const Bytes foreigner = {3, 0x24, 0};
  for (const auto companions : {Companions::kNone, Companions::kRequired}) {
    EXPECT_TRUE(parseConfiguration(spliced(t15cConfiguration(), 18, 0, repeated(foreigner, 11)),
                                   companions));
    EXPECT_FALSE(parseConfiguration(spliced(t15cConfiguration(), 18, 0, repeated(foreigner, 12)),
                                    companions));
  }
}

TEST(Descriptors, TakesAsManyEndpointsAsThereAreSlots) {
  const Bytes endpoint = {7, 5, 0x81, 2, 0x00, 0x02, 0};
  for (const std::uint8_t count : Bytes{31, 32, 255}) {
    Bytes rest = {9, 4, 0, 0, count, 0xFF, 0, 0, 0};
    const Bytes endpoints = repeated(endpoint, count);
    rest.insert(rest.end(), endpoints.begin(), endpoints.end());
    EXPECT_EQ(parseConfiguration(configurationOf(rest), Companions::kNone).has_value(),
              count == 31);
  }
}

TEST(Descriptors, RefusesMalformedConfigurations) {
  const Bytes good = t15cConfiguration();
  Bytes cutShort = good;
  cutShort.pop_back();
  Bytes withTail = good;
  withTail.push_back(0);
  const std::pair<const char*, Bytes> cases[] = {
      {"nothing", {}},
      {"half a header", {9, 2, 31}},
      {"header of length 0", with(good, 0, 0)},
      {"header shorter than its fields", with(good, 0, 8)},
      {"header longer than all", with(good, 0, 32)},
      {"not a configuration", with(good, 1, 4)},
      {"total length below the header's", with({good.begin(), good.begin() + 8}, 2, 8)},
      {"fewer bytes than announced", cutShort},
      {"more bytes than announced", withTail},
      {"total length cuts a descriptor", with({good.begin(), good.begin() + 24}, 2, 24)},
      {"total length cuts off the endpoints", with({good.begin(), good.begin() + 18}, 2, 18)},
      {"interface of length 0", with(good, 9, 0)},
      {"interface of length 1", with(good, 9, 1)},
      {"interface too short", spliced(good, 9, 9, {8, 4, 0, 0, 0, 0xFF, 0, 0})},
      {"interface past the end", with(good, 9, 23)},
      {"one endpoint more than there is", with(good, 13, 2)},
      {"next interface instead of an endpoint",
       spliced(good, 18, 0, {9, 4, 0, 1, 0, 0xFF, 0, 0, 0})},
      {"endpoint of length 0", with(good, 18, 0)},
      {"endpoint too short", spliced(good, 18, 7, {6, 5, 0x81, 2, 0, 4})},
      {"endpoint past the end", with(good, 18, 14)},
      {"no companion", spliced(good, 25, 6, {})},
      {"companion of another type", with(good, 26, 0x31)},
      {"companion too short", spliced(good, 25, 6, {5, 0x30, 15, 0, 0})},
      {"companion past the end", with(good, 25, 7)},
  };
  for (const auto& [name, bytes] : cases) {
    EXPECT_FALSE(parseConfiguration(bytes, Companions::kRequired)) << name;
  }
}

TEST(Descriptors, ReadsABos) {
  const auto bos = parseBos(t15cBos());
  ASSERT_TRUE(bos);
  EXPECT_EQ(bos->capabilityCount, 2);
  EXPECT_EQ(bos->usb20Extension.value().attributes, 2U);
  EXPECT_EQ(bos->superSpeed.value().speedsSupported, 0x0E);
  EXPECT_EQ(bos->superSpeed.value().u1ExitLatency, 10);
  EXPECT_EQ(bos->superSpeed.value().u2ExitLatency, 0x07FF);
  EXPECT_FALSE(bos->containerId);

  Bytes container = {20, 0x10, 4, 0};
  for (std::uint8_t i = 0; i < 16; ++i) container.push_back(static_cast<std::uint8_t>(0xA0 + i));
  Bytes both = {4, 0x10, 0x77, 0};  // a type that is ignored
  both.insert(both.end(), container.begin(), container.end());
  const auto larger = parseBos(with(spliced(t15cBos(), 5, 0, both), 4, 4));
  ASSERT_TRUE(larger);
  EXPECT_EQ(larger->containerId.value().uuid.front(), 0xA0);
  EXPECT_EQ(larger->containerId.value().uuid.back(), 0xAF);
  EXPECT_TRUE(larger->superSpeed);
}

TEST(Descriptors, RefusesMalformedBos) {
  const Bytes good = t15cBos();
  const std::pair<const char*, Bytes> cases[] = {
      {"nothing", {}},
      {"half a header", {5, 15, 22, 0}},
      {"header too short", with(good, 0, 4)},
      {"not a BOS", with(good, 1, 2)},
      {"total length too large", with(good, 2, 23)},
      {"total length too small", with(good, 2, 21)},
      {"one capability more than there is", with(good, 4, 3)},
      {"capability of length 0", with(good, 5, 0)},
      {"capability without a type", spliced(good, 5, 7, {2, 0x10})},
      {"capability past the end", with(good, 12, 11)},
      {"no capability", with(good, 6, 0x11)},
      {"USB 2.0 extension too short", spliced(good, 5, 7, {6, 0x10, 2, 2, 0, 0})},
      {"SuperSpeed too short", spliced(good, 12, 10, {9, 0x10, 3, 0, 0, 0, 0, 0, 0})},
      {"container too short", spliced(good, 12, 10, {10, 0x10, 4, 0, 0, 0, 0, 0, 0, 0})},
  };
  for (const auto& [name, bytes] : cases) EXPECT_FALSE(parseBos(bytes)) << name;
}

TEST(Descriptors, ReadsStrings) {
  EXPECT_EQ(parseString(testing::stringDescriptor(u"V\u00E9k")), u"V\u00E9k");
  EXPECT_EQ(parseString(testing::stringDescriptor(u"")), u"");
  EXPECT_EQ(parseString(Bytes{6, 3, 'a', 0}), std::nullopt);
  EXPECT_EQ(parseString(Bytes{3, 3, 'a'}), std::nullopt);
  EXPECT_EQ(parseString(Bytes{4, 4, 'a', 0}), std::nullopt);
  EXPECT_EQ(parseString(Bytes{0, 3}), std::nullopt);
  EXPECT_EQ(parseString({}), std::nullopt);

  EXPECT_TRUE(listsLanguage(Bytes{6, 3, 0x07, 0x04, 0x09, 0x04}, kEnglishUs));
  EXPECT_FALSE(listsLanguage(Bytes{6, 3, 0x07, 0x09, 0x04, 0x04}, kEnglishUs));
  EXPECT_FALSE(listsLanguage(Bytes{6, 3, 0x09, 0x04}, kEnglishUs));
}

}  // namespace
}  // namespace orvik::descriptors
