// SPDX-License-Identifier: MIT
// Writing firmware images to the memories of a camera, and reading them back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "firmware/firmware_bench.h"
#include "orvik/cameras.h"
#include "support/own_folder.h"

namespace orvik::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint8_t kRam = 0xA0;
constexpr std::uint8_t kEeprom = 0xBA;
constexpr std::uint8_t kFlash = 0xC4;
constexpr std::size_t kRecordStreamOverhead = 16;

class DownloadTest : public ::testing::Test {
 protected:
  CCameraT15C& camera() { return bench_.camera(); }

  FX3_FWDWNLOAD_ERROR_CODE toRam(const Bytes& image) {
    return camera().DownloadFwToRam(image.data(), static_cast<std::uint32_t>(image.size()), kRam);
  }
  FX3_FWDWNLOAD_ERROR_CODE toFlash(const Bytes& image) {
    camera().EnableGPIF32DQ(false);
    const auto result = camera().DownloadBuftoSPIFLASH(
        image.data(), static_cast<std::uint32_t>(image.size()), kFlash);
    camera().EnableGPIF32DQ(true);
    return result;
  }
  bool updateBoot(const Bytes& stream) {
    return camera().UpdateFW(stream.data(), static_cast<std::int32_t>(stream.size()));
  }
  Bytes ram(std::uint32_t address, std::uint16_t count) {
    Bytes bytes(count);
    EXPECT_TRUE(camera().UploadBufferFromDevice(address, count, bytes.data(), kRam));
    return bytes;
  }
  Bytes flash(std::uint32_t count) {
    Bytes bytes(count);
    camera().EnableGPIF32DQ(false);
    constexpr std::uint32_t kPart = 32768;
    for (std::uint32_t at = 0; at < count; at += kPart) {
      EXPECT_TRUE(
          camera().ReadFromSPIFlash(bytes.data() + at, std::min(kPart, count - at), at, 0xC3));
    }
    camera().EnableGPIF32DQ(true);
    return bytes;
  }
  Bytes eeprom(std::uint16_t count) {
    Bytes bytes(count);
    EXPECT_TRUE(camera().UploadBufferFromDevice(0, count, bytes.data(), kEeprom));
    return bytes;
  }
  /// Changes a byte in the n-th answer, counted from now, that the host reads back.
  void spoilAnswer(std::uint8_t request, int from, int to) {
    answers_ = 0;
    bench_.afterRequest = [=, this](const sim::ControlRecord& record) {
      if (record.setup.requestType != 0xC0 || record.setup.request != request) return;
      ++answers_;
      // The record shows the host's own memory.
      if (answers_ >= from && answers_ <= to) const_cast<std::uint8_t&>(record.data.back()) ^= 1U;
    };
  }

  BasicFirmwareBench<CCameraT15C> bench_;
  OwnFolder folder_;
  int answers_ = 0;
};

TEST_F(DownloadTest, SingleRequests) {
  Bytes bytes(3);
  EXPECT_TRUE(camera().IsBootLoaderRunning());
  EXPECT_TRUE(camera().DownloadBufferToDevice(0x00021234, 3, bytes.data(), kRam));
  EXPECT_TRUE(camera().UploadBufferFromDevice(0x00021234, 3, bytes.data(), kRam));
  EXPECT_TRUE(camera().SetTransferCount(1304 * 976));
  EXPECT_TRUE(camera().SetTransferCount(49152));
  EXPECT_FALSE(camera().SetProgramEntry(0x77, 0x12345678)) << "no such request";
  EXPECT_THAT(bench_.take(), ElementsAre("RA0 0000/0000 1", "A0 1234/0002 3", "RA0 1234/0002 3",
                                         "B5 0000/001A 0", "B5 0000/0001 0", "77 1234/5678 0"));
  EXPECT_FALSE(camera().DownloadBufferToDevice(0, 3, nullptr, kRam));
  EXPECT_FALSE(camera().WriteToSPIFlash(bytes.data(), 65536, 0, 0xC2));
  EXPECT_FALSE(camera().SetTransferCount(-1));
  EXPECT_THAT(bench_.take(), IsEmpty());
}

TEST_F(DownloadTest, AnImageInRamRunsThreeTimesOverEachPart) {
  const Bytes data = pattern(2052);
  EXPECT_EQ(toRam(imageOf(data, 0x0001F000)), FWDWNLOAD_SUCCESS);
  Lines expected;
  for (const char* part : {"F000/0001 2048", "F800/0001 4"}) {
    for (int attempt = 0; attempt < 3; ++attempt) {
      expected.push_back(std::string("A0 ").append(part));
      expected.push_back(std::string("RA0 ").append(part));
    }
  }
  expected.emplace_back("A0 F000/0001 0");
  EXPECT_EQ(bench_.take(), expected);
  EXPECT_EQ(ram(0x0001F000, 2052), data);

  Bytes onlyEnd = imageHead();
  appendEnd(onlyEnd, 0x2000);
  bench_.take();
  EXPECT_EQ(toRam(onlyEnd), FWDWNLOAD_SUCCESS);
  EXPECT_THAT(bench_.take(), ElementsAre("A0 2000/0000 0"));
}

TEST_F(DownloadTest, TheThirdReadBackDecides) {
  const Bytes image = imageOf(pattern(64));
  spoilAnswer(kRam, 1, 2);
  EXPECT_EQ(toRam(image), FWDWNLOAD_SUCCESS);
  spoilAnswer(kRam, 3, 3);
  EXPECT_EQ(toRam(image), FWDWNLOAD_FAILED);
}

TEST_F(DownloadTest, AnUnsoundImageIsNotBegun) {
  Bytes image = imageOf(pattern(4096));
  appendSection(image, 0, {});
  image[4] = 0xFF;  // longer than the image, after a valid start
  const std::string file = folder_.path() / "image";
  EXPECT_EQ(toRam(image), FWDWNLOAD_SECTION_OVERRUN);
  EXPECT_EQ(toRam({}), FWDWNLOAD_NO_SIGNATURE);
  Bytes stream = streamOf(pattern(100));
  stream.pop_back();
  EXPECT_FALSE(updateBoot(stream));
  EXPECT_FALSE(camera().UpdateFW2RAM(stream.data(), static_cast<std::int32_t>(stream.size())));
  EXPECT_FALSE(camera().UpdateFW2RAM(nullptr, 100));
  EXPECT_FALSE(updateBoot(streamOf(pattern(65536 - kRecordStreamOverhead + 1)))) << "no room";
  EXPECT_EQ(camera().DownloadBuftoI2CE2PROM(image.data(), 100, kEeprom), FWDWNLOAD_NO_EEPROM_SIZE);
  EXPECT_EQ(camera().DownloadBuftoI2CE2PROM(nullptr, 100, kEeprom), FWDWNLOAD_NO_EEPROM_SIZE);

  writeFile(file, std::string(image.begin(), image.end()));
  for (const auto media : {FWDWNLOAD_RAM, FWDWNLOAD_I2CE2PROM, FWDWNLOAD_SPIFLASH}) {
    EXPECT_EQ(camera().DownloadFw(file.c_str(), media), FWDWNLOAD_SECTION_OVERRUN);
  }
  EXPECT_THAT(bench_.take(), IsEmpty());
}

TEST_F(DownloadTest, FilesThatAreNone) {
  const std::string file = folder_.path() / "image";
  EXPECT_EQ(camera().DownloadFw(nullptr, FWDWNLOAD_RAM), FWDWNLOAD_NO_FILE);
  EXPECT_EQ(camera().DownloadFw(file.c_str(), FWDWNLOAD_RAM), FWDWNLOAD_NO_FILE);
  EXPECT_EQ(camera().DownloadFw(folder_.path().c_str(), FWDWNLOAD_RAM), FWDWNLOAD_NO_FILE);
  writeFile(file, "");
  EXPECT_EQ(camera().DownloadFw(file.c_str(), FWDWNLOAD_RAM), FWDWNLOAD_NO_FILE);
  writeFile(file, "CY");
  EXPECT_EQ(camera().DownloadFw(file.c_str(), static_cast<FX3_FWDWNLOAD_MEDIA_TYPE>(4)),
            FWDWNLOAD_UNKNOWN_MEDIA);
  const Bytes tooLong = imageOf(pattern(0x40000));
  writeFile(file, std::string(tooLong.begin(), tooLong.end()));
  EXPECT_EQ(camera().DownloadFw(file.c_str(), FWDWNLOAD_SPIFLASH), FWDWNLOAD_NO_FILE)
      << "it would take the place of the hot pixels";
  std::filesystem::resize_file(file, std::uintmax_t{5} << 30U);  // a sparse file
  EXPECT_EQ(camera().DownloadFw(file.c_str(), FWDWNLOAD_RAM), FWDWNLOAD_NO_FILE);
  EXPECT_THAT(bench_.take(), IsEmpty());
}

TEST_F(DownloadTest, AFileGoesToEachMedium) {
  const std::string file = folder_.path() / "image";
  const Bytes image = imageOf(pattern(5000), 0x3000, 6);
  writeFile(file, std::string(image.begin(), image.end()));
  EXPECT_EQ(camera().DownloadFw(file.c_str(), FWDWNLOAD_RAM), FWDWNLOAD_SUCCESS);
  EXPECT_EQ(ram(0x3000, 5000), pattern(5000));
  EXPECT_EQ(camera().DownloadFw(file.c_str(), FWDWNLOAD_I2CE2PROM), FWDWNLOAD_SUCCESS);
  Bytes padded = image;
  padded.resize(6144);
  EXPECT_EQ(eeprom(6144), padded);
  EXPECT_EQ(camera().DownloadFw(file.c_str(), FWDWNLOAD_SPIFLASH), FWDWNLOAD_SUCCESS);
  padded.resize(5120);
  EXPECT_EQ(flash(5120), padded);
}

TEST_F(DownloadTest, TheEepromsPagesAndDevices) {
  Bytes image = imageHead(2);  // EEPROMs of 4096 bytes
  image.resize(4097);
  EXPECT_EQ(camera().DownloadBuftoI2CE2PROM(image.data(), 4097, kEeprom), FWDWNLOAD_FAILED)
      << "this camera has one EEPROM";
  EXPECT_THAT(bench_.take(),
              ElementsAre("BA 0000/0000 2048", "BA 0000/0800 2048", "BA 0001/0000 2048"));
}

TEST_F(DownloadTest, TheFlashIsErasedAndWritten) {
  const Bytes image = pattern(70'000);
  EXPECT_EQ(toFlash(image), FWDWNLOAD_SUCCESS);
  const Lines sent = bench_.take();
  Lines erased;
  Lines written;
  for (const std::string& line : sent) {
    if (line.starts_with("C4")) erased.push_back(line);
    if (line.starts_with("C2")) written.push_back(line);
  }
  EXPECT_THAT(erased, ElementsAre("C4 0001/0000 0", "C4 0001/0001 0"));
  ASSERT_EQ(written.size(), 35U);
  EXPECT_EQ(written[0], "C2 0000/0008 2048");
  EXPECT_EQ(written[33], "C2 0000/0110 512") << "368 bytes in whole pages";
  EXPECT_EQ(written.back(), "C2 0000/0000 2048") << "what the bridge starts from comes last";
  Bytes padded = image;
  padded.resize(70'144);
  EXPECT_EQ(flash(70'144), padded);
}

TEST_F(DownloadTest, TheBootImageGoesThroughTheHelper) {
  const Bytes stream = streamOf(pattern(5000));
  EXPECT_TRUE(updateBoot(stream));
  EXPECT_THAT(bench_.take(), ElementsAre("A0 E600/0000 1", "A0 0000/0000 2048", "A0 0800/0000 1427",
                                         "A0 E600/0000 1", "A9 0000/0000 4096", "A9 1000/0000 920",
                                         "RA9 0000/0000 4096", "RA9 1000/0000 920",
                                         "A0 E600/0000 1", "A0 0000/0000 5000", "A0 E600/0000 1"));
  EXPECT_EQ(ram(0, 5000), pattern(5000)) << "the new firmware runs";
  EXPECT_EQ(eeprom(5016), stream);
  EXPECT_TRUE(camera().IsUSB3Host());

  EXPECT_TRUE(updateBoot(streamOf(pattern(65536 - kRecordStreamOverhead)))) << "all of the EEPROM";
}

TEST_F(DownloadTest, TheThirdRoundWritesButIsToldAsAFailure) {
  const Bytes stream = streamOf(pattern(100));
  spoilAnswer(0xA9, 1, 1);
  EXPECT_TRUE(updateBoot(stream));
  spoilAnswer(0xA9, 1, 2);
  EXPECT_FALSE(updateBoot(stream));
  EXPECT_EQ(answers_, 3);
  EXPECT_EQ(eeprom(116), stream);
  spoilAnswer(0xA9, 1, 100);
  EXPECT_FALSE(updateBoot(stream));
  EXPECT_EQ(answers_, 3) << "no fourth round";
}

TEST_F(DownloadTest, AnInterruptedBootImageCanBeWrittenAgainFromAnyPoint) {
  const Bytes stream = streamOf(pattern(5000));
  ASSERT_TRUE(updateBoot(stream));
  const auto requests = static_cast<int>(bench_.take().size());
  for (int k = 1; k <= requests; ++k) {
    bench_.failRequest(k);
    const bool told = updateBoot(stream);
    bench_.failRequest(0);
    EXPECT_EQ(told, k > 4) << "without the helper nothing is written; a lost block is written "
                              "again, at "
                           << k;
    ASSERT_TRUE(updateBoot(stream)) << k;
    ASSERT_EQ(eeprom(5016), stream) << k;
  }
}

TEST_F(DownloadTest, ErasingTheBootMemoryLeavesNoProgram) {
  ASSERT_TRUE(updateBoot(streamOf(pattern(5000))));
  ASSERT_TRUE(camera().EraseFlash());
  Bytes block(4096);
  ASSERT_TRUE(camera().UploadBufferFromDevice(0, 4096, block.data(), 0xA9)) << "the helper runs on";
  EXPECT_EQ(block[0], 0xC2);
  block.erase(block.begin());
  EXPECT_THAT(block, Each(0));
}

}  // namespace
}  // namespace orvik::test
