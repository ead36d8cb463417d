// SPDX-License-Identifier: MIT
#include "firmware/firmware_image.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "firmware/images.h"

namespace orvik::firmware {
namespace {

using namespace test;  // NOLINT(google-build-using-namespace)
using ::testing::ElementsAreArray;

FX3_FWDWNLOAD_ERROR_CODE parse(const Bytes& bytes) {
  Image image;
  return parseImage(bytes, image);
}

TEST(FirmwareImage, SectionsAndEntry) {
  const Bytes data = pattern(4100);
  Bytes bytes = imageHead();
  appendSection(bytes, 0x40001000, {1, 2, 3, 4});
  appendSection(bytes, 0x100, data);
  appendEnd(bytes, 0x40013FFC);
  append32(bytes, 0x12345678);  // a checksum
  Image image;
  ASSERT_EQ(parseImage(bytes, image), FWDWNLOAD_SUCCESS);
  EXPECT_EQ(image.entry, 0x40013FFCU);
  ASSERT_EQ(image.sections.size(), 2U);
  EXPECT_EQ(image.sections[0].address, 0x40001000U);
  EXPECT_THAT(image.sections[1].data, ElementsAreArray(data));
}

TEST(FirmwareImage, EveryTruncationIsSeen) {
  Bytes bytes = imageOf(pattern(64));
  ASSERT_EQ(parse(bytes), FWDWNLOAD_SUCCESS);
  while (!bytes.empty()) {
    bytes.pop_back();
    const auto error = parse(bytes);
    if (bytes.size() < 2) {
      EXPECT_EQ(error, FWDWNLOAD_NO_SIGNATURE);
    } else {
      EXPECT_THAT(error, ::testing::AnyOf(FWDWNLOAD_SECTION_OVERRUN, FWDWNLOAD_CHUNK_OVERRUN));
    }
  }
}

TEST(FirmwareImage, LiesAboutLengths) {
  Bytes lie = imageHead();
  append32(lie, 0xFFFFFFFF);
  append32(lie, 0);
  EXPECT_EQ(parse(lie), FWDWNLOAD_CHUNK_OVERRUN) << "a chunk is longer than all of it";
  lie.resize(4000);
  EXPECT_EQ(parse(lie), FWDWNLOAD_SECTION_OVERRUN);
  lie = imageOf(pattern(64));
  lie[4] = 17;  // one word more than is left
  EXPECT_EQ(parse(lie), FWDWNLOAD_SECTION_OVERRUN);
  lie = imageOf(pattern(64));
  lie[1] = 'X';
  EXPECT_EQ(parse(lie), FWDWNLOAD_NO_SIGNATURE);
}

TEST(FirmwareImage, NamesItsEeprom) {
  const std::vector<std::optional<std::uint32_t>> sizes = {
      std::nullopt, std::nullopt, 4096, 8192, 16384, 32768, 65536, 65536};
  for (unsigned code = 0; code < 8; ++code) {
    Bytes image = imageHead(code);
    image[2] |= 0xF1;  // other bits have other meanings
    EXPECT_EQ(eepromBytesOf(image), sizes[code]) << code;
  }
  EXPECT_FALSE(eepromBytesOf(Bytes{'C', 'Y'}));
}

TEST(RecordStream, RecordsUpToTheirEnd) {
  Bytes stream = streamOf({1, 2, 3});
  auto records = parseRecords(stream);
  ASSERT_TRUE(records);
  ASSERT_EQ(records->size(), 1U);
  EXPECT_THAT(records->front().data, ElementsAreArray({1, 2, 3}));
  for (std::size_t length = 0; length < stream.size(); ++length) {
    EXPECT_FALSE(parseRecords(std::span(stream).first(length))) << length;
  }

  stream.resize(8);
  appendRecord(stream, 0x80FF, Bytes(256, 7));
  appendRecord(stream, 5, {});
  stream.insert(stream.end(), {0x80, 0x01, 0xE6, 0x00, 0xFF});
  records = parseRecords(stream);
  ASSERT_TRUE(records);
  ASSERT_EQ(records->size(), 1U) << "a record without data says nothing";
  EXPECT_EQ(records->front().address, 0x80FF) << "high byte first";
}

}  // namespace
}  // namespace orvik::firmware
