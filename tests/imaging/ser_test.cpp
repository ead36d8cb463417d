// SPDX-License-Identifier: MIT
#include <cstring>

#include "imaging/errors.h"
#include "imaging/ser_writer.h"
#include "tests/imaging/test_image.h"

namespace orvik::imaging {
namespace {

constexpr std::size_t kHeader = 178;

template <typename Number>
Number numberAt(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
  Number number{};
  EXPECT_LE(offset + sizeof number, bytes.size());
  std::memcpy(&number, bytes.data() + offset, sizeof number);
  return number;
}

std::string textAt(const std::vector<std::uint8_t>& bytes, std::size_t offset, std::size_t width) {
  std::string text(bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                   bytes.begin() + static_cast<std::ptrdiff_t>(offset + width));
  return text.c_str();
}

std::vector<std::uint8_t> part(const std::vector<std::uint8_t>& bytes, std::size_t offset,
                               std::size_t size) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

class SerWriterTest : public FileTest {
 protected:
  std::vector<std::uint8_t> writeOne(const TestImage& image) {
    SerWriter writer(file("one.ser"), true);
    writer.write(image.image());
    writer.finish();
    return contentsOf(file("one.ser"));
  }
};

TEST_F(SerWriterTest, WritesHeaderFramesAndTimes) {
  TestImage image(6, 4, Orvik_IMG_RAW16);
  image.info.mosaic = BAYER_RG;
  image.info.observer = "An observer whose name is longer than forty characters";
  image.info.telescope = "Newton 200/1000";
  SerWriter writer(file("video.ser"), false);
  writer.write(image.image());
  TestImage second = image;
  second.bytes[0] = 99;
  second.info.start += std::chrono::milliseconds(20);
  writer.write(second.image());
  writer.finish();

  const auto bytes = contentsOf(file("video.ser"));
  ASSERT_EQ(bytes.size(), kHeader + 2 * 48 + 2 * 8);
  EXPECT_EQ(textAt(bytes, 0, 14), "LUCAM-RECORDER");
  EXPECT_EQ(numberAt<std::int32_t>(bytes, 18), 8);   // mosaic RGGB
  EXPECT_EQ(numberAt<std::int32_t>(bytes, 22), 0);   // little-endian samples
  EXPECT_EQ(numberAt<std::int32_t>(bytes, 26), 6);   // width
  EXPECT_EQ(numberAt<std::int32_t>(bytes, 30), 4);   // height
  EXPECT_EQ(numberAt<std::int32_t>(bytes, 34), 16);  // bits
  EXPECT_EQ(numberAt<std::int32_t>(bytes, 38), 2);   // frames
  EXPECT_EQ(textAt(bytes, 42, 40), "An observer whose name is longer than fo");
  EXPECT_EQ(textAt(bytes, 82, 40), "Vek T15C");
  EXPECT_EQ(textAt(bytes, 122, 40), "Newton 200/1000");
  // 2024-02-29T12:34:56.789 UTC is day 738945 of the calendar that starts with year 1.
  const std::int64_t ticks =
      (((738944LL * 24 + 12) * 60 + 34) * 60 + 56) * 10'000'000 + 789 * 10'000;
  EXPECT_EQ(numberAt<std::int64_t>(bytes, 170), ticks);
  EXPECT_EQ(part(bytes, kHeader, 48), image.bytes);
  EXPECT_EQ(part(bytes, kHeader + 48, 48), second.bytes);
  EXPECT_EQ(numberAt<std::int64_t>(bytes, kHeader + 96), ticks);
  EXPECT_EQ(numberAt<std::int64_t>(bytes, kHeader + 104), ticks + 200'000);
}

TEST_F(SerWriterTest, KeepsTheLocalTimeBesideUtc) {
  setenv("TZ", "XYZ-02:30", 1);  // two and a half hours ahead of UTC
  tzset();
  const auto bytes = writeOne(TestImage(4, 2, Orvik_IMG_RAW8));
  unsetenv("TZ");
  tzset();
  EXPECT_EQ(numberAt<std::int64_t>(bytes, 162) - numberAt<std::int64_t>(bytes, 170),
            9000LL * 10'000'000);
}

TEST_F(SerWriterTest, NamesTheColours) {
  TestImage raw(4, 2, Orvik_IMG_RAW8);
  EXPECT_EQ(numberAt<std::int32_t>(writeOne(raw), 18), 0);
  const std::pair<BayerPattern, int> patterns[] = {
      {BAYER_RG, 8}, {BAYER_GR, 9}, {BAYER_GB, 10}, {BAYER_BG, 11}};
  for (const auto& [pattern, id] : patterns) {
    raw.info.mosaic = pattern;
    EXPECT_EQ(numberAt<std::int32_t>(writeOne(raw), 18), id);
  }
  const auto colour = writeOne(TestImage(4, 2, Orvik_IMG_RGB24));
  EXPECT_EQ(numberAt<std::int32_t>(colour, 18), 101);
  EXPECT_EQ(numberAt<std::int32_t>(colour, 34), 8);
}

TEST_F(SerWriterTest, CanBeReadAtAnyMoment) {
  const TestImage image(4, 2, Orvik_IMG_RAW8);
  SerWriter writer(file("running.ser"), false);
  for (std::int32_t frames = 1; frames <= 3; ++frames) {
    writer.write(image.image());
    const auto bytes = contentsOf(file("running.ser"));
    EXPECT_EQ(numberAt<std::int32_t>(bytes, 38), frames);
    EXPECT_EQ(bytes.size(), kHeader + static_cast<std::size_t>(frames) * 8);
  }
}

TEST_F(SerWriterTest, WithoutAFrameKeepsAnOlderRecordingAndMakesNone) {
  const auto older = writeOne(TestImage(4, 2, Orvik_IMG_RAW8));
  SerWriter(file("one.ser"), true).finish();
  EXPECT_EQ(contentsOf(file("one.ser")), older);
  SerWriter(file("new.ser"), false).finish();
  EXPECT_FALSE(std::filesystem::exists(file("new.ser")));
  EXPECT_THROW(SerWriter(file("one.ser"), false), FileError);
  // A shorter recording leaves nothing of a longer one.
  SerWriter longer(file("long.ser"), false);
  for (int i = 0; i < 9; ++i) longer.write(TestImage(4, 2, Orvik_IMG_RAW8).image());
  longer.finish();
  SerWriter shorter(file("long.ser"), true);
  shorter.write(TestImage(4, 2, Orvik_IMG_RAW8).image());
  EXPECT_EQ(std::filesystem::file_size(file("long.ser")), kHeader + 8);
  shorter.finish();
  EXPECT_EQ(std::filesystem::file_size(file("long.ser")), kHeader + 8 + 8);
}

TEST_F(SerWriterTest, KeepsWholeFramesAndAllTimeStampsOrNoneOnAFullDisk) {
  const TestImage image(8, 6, Orvik_IMG_RAW8);
  FaultyFileSystem disk;
  const auto sizeWith = [&](std::uint64_t room, int frames) {
    disk.room = room;
    const auto record = [&] {
      SerWriter writer(file("full.ser"), true, disk);
      for (int i = 0; i < frames; ++i) writer.write(image.image());
      writer.finish();
    };
    EXPECT_THROW(record(), FileError);
    const auto bytes = contentsOf(file("full.ser"));
    EXPECT_EQ(numberAt<std::int32_t>(bytes, 38), 2);
    return bytes.size() - kHeader;
  };
  EXPECT_EQ(sizeWith(kHeader + 2 * 48 + 40, 3), 2U * 48 + 2 * 8) << "no room for the third frame";
  EXPECT_EQ(sizeWith(kHeader + 2 * 48 + 12, 2), 2U * 48) << "no room for the second time stamp";
  disk.failing = "close";
  EXPECT_EQ(sizeWith(10'000, 2), 2U * 48 + 2 * 8);
}

TEST_F(SerWriterTest, RefusesAFrameOfAnotherSize) {
  SerWriter writer(file("mixed.ser"), false);
  writer.write(TestImage(4, 2, Orvik_IMG_RAW8).image());
  EXPECT_THROW(writer.write(TestImage(4, 4, Orvik_IMG_RAW8).image()), std::invalid_argument);
}

}  // namespace
}  // namespace orvik::imaging
