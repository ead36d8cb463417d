// SPDX-License-Identifier: MIT
// Tests the service functions for firmware and flash, with a flash write interrupted at every
// request.
#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <set>
#include <stdexcept>

#include "api/service_bench.h"
#include "firmware/images.h"

namespace orvik::test {
namespace {

using ::testing::IsEmpty;

class ServiceFirmwareTest : public ServiceBench {
 protected:
  std::string fileOf(const Bytes& bytes, const std::string& name = "image") {
    std::string path = folder_.file(name);
    writeFile(path, bytes);
    return path;
  }
  static Orvik_ERROR_CODE flash(const std::string& path) {
    return OrvikFlashFirmware(0, path.c_str(), nullptr, nullptr);
  }
  static Orvik_ERROR_CODE verify(const std::string& path) {
    return OrvikVerifyFirmware(0, path.c_str(), nullptr, nullptr);
  }
  static Bytes read(std::uint32_t address, std::size_t size) {
    Bytes bytes(size);
    EXPECT_EQ(
        OrvikReadFlash(0, address, bytes.data(), static_cast<std::int32_t>(size), nullptr, nullptr),
        Orvik_OK);
    return bytes;
  }
};

TEST_F(ServiceFirmwareTest, FilesAreToldApartWithoutACamera) {
  Orvik_FIRMWARE_FILE file{};
  ASSERT_EQ(OrvikCheckFirmwareFile(fileOf(imageOf(pattern(400), 0x1234)).c_str(), &file), Orvik_OK);
  EXPECT_EQ(file.format, Orvik_FIRMWARE_SECTIONS);
  EXPECT_EQ(file.fileBytes, 420);
  EXPECT_EQ(file.parts, 1);
  EXPECT_EQ(file.dataBytes, 400);
  EXPECT_EQ(file.entry, 0x1234U);
  EXPECT_EQ(file.fitsFlash, Orvik_TRUE);
  ASSERT_EQ(OrvikCheckFirmwareFile(fileOf(streamOf(pattern(77))).c_str(), &file), Orvik_OK);
  EXPECT_EQ(file.format, Orvik_FIRMWARE_RECORDS);
  EXPECT_EQ(file.dataBytes, 77);
  EXPECT_EQ(file.fitsFlash, Orvik_FALSE);

  const Orvik_FIRMWARE_FILE before = file;
  EXPECT_EQ(OrvikCheckFirmwareFile(fileOf(pattern(500)).c_str(), &file),
            Orvik_ERROR_FIRMWARE_IMAGE);
  EXPECT_EQ(OrvikCheckFirmwareFile(fileOf({}).c_str(), &file), Orvik_ERROR_FILE);
  EXPECT_EQ(OrvikCheckFirmwareFile(folder_.path().c_str(), &file), Orvik_ERROR_FILE);
  EXPECT_EQ(OrvikCheckFirmwareFile(nullptr, &file), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(OrvikCheckFirmwareFile("x", nullptr), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(file.dataBytes, before.dataBytes);
}

TEST_F(ServiceFirmwareTest, AnUnfitFileIsNotBegun) {
  open();
  Bytes cut = imageOf(pattern(4000));
  cut.resize(3000);
  const std::string broken = fileOf(cut, "broken");
  const std::string tooLong = fileOf(imageOf(pattern(ORVIK_FIRMWARE_AREA_BYTES)), "long");
  const std::string records = fileOf(streamOf(pattern(100)), "records");
  EXPECT_EQ(OrvikLoadFirmware(0, records.c_str()), Orvik_ERROR_FIRMWARE_IMAGE)
      << "for the other bridge";
  for (const std::string& path : {broken, tooLong, records}) {
    EXPECT_EQ(flash(path), Orvik_ERROR_FIRMWARE_IMAGE) << path;
    EXPECT_EQ(verify(path), Orvik_ERROR_FIRMWARE_IMAGE) << path;
  }
  EXPECT_EQ(OrvikLoadFirmware(0, broken.c_str()), Orvik_ERROR_FIRMWARE_IMAGE);
  EXPECT_THAT(conversation_.take(), IsEmpty());
}

TEST_F(ServiceFirmwareTest, FirmwareIsWrittenVerifiedAndRead) {
  open();
  ASSERT_EQ(OrvikSetID(0, {{'a', 'b'}}), Orvik_OK);
  const Bytes image = imageOf(pattern(80'000));
  const std::string path = fileOf(image);
  EXPECT_EQ(verify(path), Orvik_ERROR_VERIFY) << "an erased flash";

  struct Told {
    std::set<int> steps;
    std::int32_t last = 0;
    bool fell = false;
  } told;
  const auto tell = [](void* context, Orvik_STEP step, std::int32_t done, std::int32_t total) {
    auto& all = *static_cast<Told*>(context);
    if (!all.steps.insert(step).second && done < all.last) all.fell = true;
    if (done > total) all.fell = true;
    all.last = done;
  };
  ASSERT_EQ(OrvikFlashFirmware(0, path.c_str(), tell, &told), Orvik_OK);
  EXPECT_THAT(told.steps,
              ::testing::ElementsAre(Orvik_STEP_ERASE, Orvik_STEP_WRITE, Orvik_STEP_READ));
  EXPECT_FALSE(told.fell);
  EXPECT_EQ(told.last, static_cast<std::int32_t>(image.size()));

  EXPECT_EQ(verify(path), Orvik_OK);
  EXPECT_EQ(read(0, image.size()), image);
  EXPECT_EQ(read(0x70000, 4), (Bytes{'I', 'D', 'a', 'b'})) << "the mark is left alone";
  unsigned char byte = 0;
  EXPECT_EQ(OrvikReadFlash(0, 0x100000, &byte, 1, nullptr, nullptr), Orvik_ERROR_DRIVER_FAILED)
      << "this flash ends at 1 MiB";
}

TEST_F(ServiceFirmwareTest, AWriteOutlivesALostRequestAndMoreNeverLeaveHalfAnImage) {
  open();
  const Bytes bytes = imageOf(pattern(70'000));
  const std::string before = fileOf(bytes, "before");
  Bytes other = pattern(70'000);
  std::ranges::reverse(other);
  const std::string after = fileOf(imageOf(other), "after");
  ASSERT_EQ(flash(before), Orvik_OK);
  const auto requests = static_cast<int>(conversation_.take().size());
  ASSERT_GT(requests, 80);
  for (int k = 1; k <= requests; ++k) {
    failRequest(k);
    EXPECT_EQ(flash(after), Orvik_OK) << "one lost request, at " << k;
    failRequest(0);
    EXPECT_EQ(verify(after), Orvik_OK) << k;
    ASSERT_EQ(conversation_.take().back(), "BE") << "the pixel stream has its bus again";
    ASSERT_EQ(flash(before), Orvik_OK);

    disturb("control fail from " + std::to_string(k));
    const Orvik_ERROR_CODE told = flash(after);
    disturb("");
    if (told != Orvik_OK && verify(before) != Orvik_OK && verify(after) != Orvik_OK) {
      // The flash may still be busy with an erase that nothing waited for; the next write waits.
      ASSERT_EQ(OrvikSetID(0, {}), Orvik_OK);
      EXPECT_EQ(read(0, 4), Bytes(4, 0xFF)) << "nothing starts without its signature, at " << k;
    }
  }
  ASSERT_EQ(OrvikSetID(0, {}), Orvik_OK);
  disturb("control C3 flip 0 at 1");
  EXPECT_EQ(flash(after), Orvik_ERROR_VERIFY);
  EXPECT_EQ(read(0, 4), Bytes(4, 0xFF)) << "nor does what reads back differently";
}

TEST_F(ServiceFirmwareTest, NothingIsErasedWithoutTheBus) {
  open();
  const std::string before = fileOf(imageOf(pattern(3000)), "before");
  ASSERT_EQ(flash(before), Orvik_OK);
  ASSERT_EQ(OrvikMarkHotPixel(0, {5, 5}, Orvik_TRUE), Orvik_OK);
  ASSERT_EQ(OrvikSaveHotPixels(0), Orvik_OK);
  ASSERT_EQ(OrvikMarkHotPixel(0, {6, 6}, Orvik_TRUE), Orvik_OK);
  conversation_.take();

  disturb("control BE fail");
  EXPECT_EQ(flash(fileOf(imageOf(pattern(9000)))), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_EQ(OrvikSaveHotPixels(0), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_EQ(OrvikSetID(0, {}), Orvik_ERROR_DRIVER_FAILED);
  disturb("");
  EXPECT_THAT(conversation_.take(), IsEmpty());
  EXPECT_EQ(verify(before), Orvik_OK);
  int count = 0;
  EXPECT_EQ(OrvikLoadHotPixels(0, &count), Orvik_OK);
  EXPECT_EQ(count, 1);
}

TEST_F(ServiceFirmwareTest, CaptureAndClosingKeepOffAFlashWrite) {
  open();
  const std::string image = fileOf(imageOf(pattern(100'000)));
  std::atomic<bool> writing = false;
  const auto tell = [](void* context, Orvik_STEP step, std::int32_t, std::int32_t) {
    if (step == Orvik_STEP_WRITE) static_cast<std::atomic<bool>*>(context)->store(true);
  };
  disturb("control C2 delay 20");
  auto writer = std::async(std::launch::async,
                           [&] { return OrvikFlashFirmware(0, image.c_str(), tell, &writing); });
  ASSERT_TRUE(eventually([&] { return writing.load(); }));
  EXPECT_EQ(OrvikStartVideoCapture(0), Orvik_ERROR_NO_CAMERA_OBJECT);
  EXPECT_EQ(OrvikStartExposure(0), Orvik_OK);
  Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
  EXPECT_EQ(OrvikGetExpStatus(0, &status), Orvik_OK);
  EXPECT_EQ(status, Orvik_EXPSTATE_FAILED);
  EXPECT_EQ(writer.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
  EXPECT_EQ(writer.wait_for(std::chrono::seconds(5)), std::future_status::ready);
  EXPECT_EQ(writer.get(), Orvik_OK);
  disturb("");
  open();
  EXPECT_EQ(verify(image), Orvik_OK);
  EXPECT_EQ(OrvikStartVideoCapture(0), Orvik_OK) << "nothing is left of the refusals";
}

TEST_F(ServiceFirmwareTest, RecordsAreReadBackBeforeTheyRun) {
  sim::CameraOptions options;
  options.controlObserver = observerOf(conversation_);
  bench_.plug(options, "T06C");
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 2);
  open();  // the T06C: its class comes first
  const std::string sections = fileOf(imageOf(pattern(100)), "sections");
  const std::string records = fileOf(streamOf(pattern(5000)), "records");
  EXPECT_EQ(OrvikLoadFirmware(0, sections.c_str()), Orvik_ERROR_FIRMWARE_IMAGE);
  EXPECT_EQ(flash(sections), Orvik_ERROR_FIRMWARE_IMAGE);
  EXPECT_THAT(conversation_.take(), IsEmpty()) << "the other bridge's";

  const auto load = [&] { return OrvikLoadFirmware(0, records.c_str()); };
  ASSERT_EQ(load(), Orvik_OK);
  const auto requests = static_cast<int>(conversation_.take().size());
  EXPECT_EQ(requests, 2 + 2 * 3) << "held, three parts, started";
  unsigned char byte = 0;
  for (int k = 1; k <= requests; ++k) {
    failRequest(k);
    EXPECT_EQ(load(), Orvik_OK) << "one lost request, at " << k;
    disturb("control A0 fail from " + std::to_string(k));
    EXPECT_EQ(load(), Orvik_ERROR_DRIVER_FAILED) << k;
    disturb("");
    EXPECT_EQ(OrvikReadFlash(0, 0, &byte, 1, nullptr, nullptr) == Orvik_OK, k == 1)
        << "half a program does not run, at " << k;
  }
  disturb("control A0 flip 0 at 2");
  EXPECT_EQ(load(), Orvik_OK) << "a part that reads back differently is written again";
  disturb("control A0 flip 0");
  EXPECT_EQ(load(), Orvik_ERROR_DRIVER_FAILED);
  disturb("");
  ASSERT_EQ(load(), Orvik_OK);
  disturb("control A0 deaf 1800 to 3");
  EXPECT_EQ(load(), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_EQ(OrvikReadFlash(0, 0, &byte, 1, nullptr, nullptr), Orvik_OK) << "held without an answer";
}

TEST_F(ServiceFirmwareTest, AnExceptionOfTheCallerGoesNoFurther) {
  open();
  const auto fail = [](void*, Orvik_STEP, std::int32_t, std::int32_t) {
    throw std::runtime_error("not the library's");
  };
  unsigned char byte = 0;
  EXPECT_EQ(OrvikReadFlash(0, 0, &byte, 1, fail, nullptr), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_THAT(conversation_.take(), ::testing::ElementsAre("BE", "BE"));
}

}  // namespace
}  // namespace orvik::test
