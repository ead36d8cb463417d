// SPDX-License-Identifier: MIT
// Tests the service functions for darks, hot pixels and guiding, and the checks common to all.
#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

#include "api/service_bench.h"

namespace orvik::test {
namespace {

using ::testing::IsEmpty;

constexpr int kWidth = 1304;
constexpr int kHeight = 976;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
constexpr std::size_t kDarkHeader = 1078;

class ServiceTest : public ServiceBench {
 protected:
  /// Records a dark of the whole sensor, with an exposure that shows its hot pixels.
  void recordDark() {
    OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 400'000, Orvik_FALSE);
    ASSERT_EQ(OrvikSetROIFormat(0, kWidth, kHeight, 1, Orvik_IMG_RAW8), Orvik_OK);
    int wanted = 0;
    ASSERT_EQ(OrvikStartDarkRecording(0, &wanted), Orvik_OK);
    EXPECT_EQ(wanted, 3);
    EXPECT_EQ(recording().isOver, Orvik_FALSE);
    std::vector<unsigned char> frame(kPixels);
    ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
    for (int i = 0; i < wanted; ++i) {
      EXPECT_EQ(recording().framesTaken, i);
      ASSERT_EQ(OrvikGetVideoData(0, frame.data(), kPixels, 20000), Orvik_OK);
    }
    ASSERT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
    EXPECT_EQ(recording().isOver, Orvik_TRUE);
  }
  static Orvik_DARK_RECORDING recording() {
    Orvik_DARK_RECORDING recording{};
    EXPECT_EQ(OrvikGetDarkRecording(0, &recording), Orvik_OK);
    return recording;
  }
  static Orvik_DARK_INFO darkInfo() {
    Orvik_DARK_INFO info{};
    EXPECT_EQ(OrvikGetDarkInfo(0, &info), Orvik_OK);
    return info;
  }
  static Orvik_HOT_PIXEL_INFO hotPixelInfo() {
    Orvik_HOT_PIXEL_INFO info{};
    EXPECT_EQ(OrvikGetHotPixelInfo(0, &info), Orvik_OK);
    return info;
  }
  static std::vector<std::pair<int, int>> hotPixels() {
    int count = 0;
    EXPECT_EQ(OrvikGetHotPixels(0, nullptr, 0, &count), Orvik_OK);
    std::vector<Orvik_PIXEL> pixels(static_cast<std::size_t>(count));
    EXPECT_EQ(OrvikGetHotPixels(0, pixels.data(), count, &count), Orvik_OK);
    std::vector<std::pair<int, int>> list;
    for (const Orvik_PIXEL& pixel : pixels) list.emplace_back(pixel.x, pixel.y);
    return list;
  }
};

struct Call {
  const char* name;
  std::function<Orvik_ERROR_CODE(int)> call;  ///< with invalid arguments
  Orvik_ERROR_CODE refusal;
};

std::vector<Call> badCalls() {
  constexpr auto kNoLine = static_cast<GuideD>(4);
  static unsigned char byte = 0;
  return {
      {"recording", [](int i) { return OrvikGetDarkRecording(i, nullptr); }, Orvik_ERROR_ARGUMENT},
      {"save dark", [](int i) { return OrvikSaveDark(i, nullptr); }, Orvik_ERROR_ARGUMENT},
      {"no dark", [](int i) { return OrvikSaveDark(i, "x"); }, Orvik_ERROR_NO_DARK},
      {"use dark", [](int i) { return OrvikUseDark(i, Orvik_TRUE); }, Orvik_ERROR_NO_DARK},
      {"dark info", [](int i) { return OrvikGetDarkInfo(i, nullptr); }, Orvik_ERROR_ARGUMENT},
      {"detect", [](int i) { return OrvikDetectHotPixels(i, nullptr); }, Orvik_ERROR_NO_DARK},
      {"mark x",
       [](int i) {
         return OrvikMarkHotPixel(i, {kWidth, 0}, Orvik_TRUE);
       },
       Orvik_ERROR_ARGUMENT},
      {"mark y",
       [](int i) {
         return OrvikMarkHotPixel(i, {0, -1}, Orvik_TRUE);
       },
       Orvik_ERROR_ARGUMENT},
      {"save table", [](int i) { return OrvikSaveHotPixels(i); }, Orvik_ERROR_NO_TABLE},
      {"load table", [](int i) { return OrvikLoadHotPixels(i, nullptr); }, Orvik_ERROR_NO_TABLE},
      {"use table", [](int i) { return OrvikUseHotPixels(i, Orvik_TRUE); }, Orvik_ERROR_NO_TABLE},
      {"table", [](int i) { return OrvikGetHotPixelInfo(i, nullptr); }, Orvik_ERROR_ARGUMENT},
      {"list", [](int i) { return OrvikGetHotPixels(i, nullptr, 0, nullptr); },
       Orvik_ERROR_ARGUMENT},
      {"line", [](int i) { return OrvikPulseGuide(i, kNoLine, 10); }, Orvik_ERROR_ARGUMENT},
      {"pulse", [](int i) { return OrvikPulseGuide(i, Orvik_GUIDE_DIR_0, ORVIK_MAX_PULSE_MS + 1); },
       Orvik_ERROR_ARGUMENT},
      {"no time", [](int i) { return OrvikPulseGuide(i, Orvik_GUIDE_DIR_0, -1); },
       Orvik_ERROR_ARGUMENT},
      {"version", [](int i) { return OrvikGetFirmwareVersion(i, nullptr); }, Orvik_ERROR_ARGUMENT},
      {"load", [](int i) { return OrvikLoadFirmware(i, nullptr); }, Orvik_ERROR_ARGUMENT},
      {"load none", [](int i) { return OrvikLoadFirmware(i, "/none"); }, Orvik_ERROR_FILE},
      {"flash", [](int i) { return OrvikFlashFirmware(i, nullptr, nullptr, nullptr); },
       Orvik_ERROR_ARGUMENT},
      {"verify", [](int i) { return OrvikVerifyFirmware(i, nullptr, nullptr, nullptr); },
       Orvik_ERROR_ARGUMENT},
      {"read", [](int i) { return OrvikReadFlash(i, 0, nullptr, 1, nullptr, nullptr); },
       Orvik_ERROR_ARGUMENT},
      {"read nothing", [](int i) { return OrvikReadFlash(i, 0, &byte, 0, nullptr, nullptr); },
       Orvik_ERROR_ARGUMENT},
      {"between pages", [](int i) { return OrvikReadFlash(i, 128, &byte, 1, nullptr, nullptr); },
       Orvik_ERROR_ARGUMENT},
      {"beyond the end",
       [](int i) { return OrvikReadFlash(i, 0xFFFF00, &byte, 257, nullptr, nullptr); },
       Orvik_ERROR_ARGUMENT},
      {"far beyond",
       [](int i) { return OrvikReadFlash(i, 0xFFFFFF00, &byte, 1, nullptr, nullptr); },
       Orvik_ERROR_ARGUMENT},
  };
}

TEST_F(ServiceTest, ChecksTheIndexThenTheCameraThenTheArguments) {
  for (const Call& each : badCalls()) {
    for (const int index : {-1, 1, 128}) {
      EXPECT_EQ(each.call(index), Orvik_ERROR_CAMERA_INDEX) << each.name;
    }
    EXPECT_EQ(each.call(0), Orvik_ERROR_NO_CAMERA_OBJECT) << each.name;
  }
  open();
  for (const Call& each : badCalls()) EXPECT_EQ(each.call(0), each.refusal) << each.name;
  for (const int index : {1, 0}) {
    const auto code = index == 0 ? Orvik_OK : Orvik_ERROR_CAMERA_INDEX;
    EXPECT_EQ(OrvikStopDarkRecording(index), code);
    EXPECT_EQ(OrvikUseDark(index, Orvik_FALSE), code);
    EXPECT_EQ(OrvikUseHotPixels(index, Orvik_FALSE), code);
    EXPECT_EQ(OrvikSaveSettings(index), code);
  }
}

TEST_F(ServiceTest, ADarkIsRecordedFromFramesOfTheWholeSensor) {
  open();
  EXPECT_EQ(darkInfo().hasDark, Orvik_FALSE);
  ASSERT_EQ(OrvikSetROIFormat(0, kWidth, kHeight, 1, Orvik_IMG_RAW16), Orvik_OK);
  EXPECT_EQ(OrvikStartDarkRecording(0, nullptr), Orvik_ERROR_ROI_SIZE);
  ASSERT_EQ(OrvikSetROIFormat(0, 640, 480, 1, Orvik_IMG_RAW8), Orvik_OK);
  EXPECT_EQ(OrvikStartDarkRecording(0, nullptr), Orvik_ERROR_ROI_SIZE);
  recordDark();
  EXPECT_EQ(darkInfo().hasDark, Orvik_TRUE);
  EXPECT_EQ(darkInfo().inUse, Orvik_FALSE);
  EXPECT_STREQ(darkInfo().path, "");

  EXPECT_EQ(OrvikSaveDark(0, (folder_.path() + "/none/dark.bmp").c_str()), Orvik_ERROR_FILE);
  const std::string path = folder_.file("dark.bmp");
  ASSERT_EQ(OrvikSaveDark(0, path.c_str()), Orvik_OK);
  EXPECT_EQ(darkInfo().path, path);
  EXPECT_EQ(bytesOfFile(path).size(), kDarkHeader + kPixels);
  EXPECT_EQ(OrvikUseDark(0, Orvik_TRUE), Orvik_OK);
  EXPECT_EQ(darkInfo().inUse, Orvik_TRUE);

  ASSERT_EQ(OrvikStartDarkRecording(0, nullptr), Orvik_OK);
  EXPECT_EQ(OrvikStopDarkRecording(0), Orvik_OK);
  EXPECT_EQ(recording().isOver, Orvik_FALSE);
  EXPECT_EQ(darkInfo().hasDark, Orvik_TRUE) << "the one from before stays";

  EXPECT_EQ(OrvikSaveSettings(0), Orvik_OK);
  reopen();
  EXPECT_EQ(darkInfo().inUse, Orvik_TRUE) << "kept with the settings";
  EXPECT_EQ(darkInfo().path, path);
}

TEST_F(ServiceTest, HotPixelsAreFoundInTheDarkAndKeptInTheCamera) {
  open();
  recordDark();
  const std::string path = folder_.file("dark.bmp");
  ASSERT_EQ(OrvikSaveDark(0, path.c_str()), Orvik_OK);
  int count = 0;
  ASSERT_EQ(OrvikDetectHotPixels(0, &count), Orvik_OK);
  ASSERT_GT(count, 0);
  EXPECT_EQ(count, darkInfo().hotPixels);
  const auto found = hotPixels();
  EXPECT_EQ(found.size(), static_cast<std::size_t>(count));
  const auto file = bytesOfFile(path);
  for (const auto& [x, y] : found) {
    EXPECT_GE(file.at(kDarkHeader + static_cast<std::size_t>(y * kWidth + x)),
              darkInfo().mean + 31);
  }

  Orvik_PIXEL two[2] = {{-1, -1}, {-1, -1}};
  ASSERT_EQ(OrvikGetHotPixels(0, two, 1, &count), Orvik_OK);
  EXPECT_EQ(count, static_cast<int>(found.size()));
  EXPECT_EQ(std::pair(two[0].x, two[0].y), found.front());
  EXPECT_EQ(two[1].x, -1) << "beyond the capacity";

  ASSERT_EQ(OrvikMarkHotPixel(0, {7, 0}, Orvik_TRUE), Orvik_OK);
  EXPECT_EQ(hotPixels().front(), std::pair(7, 0));
  ASSERT_EQ(OrvikSaveHotPixels(0), Orvik_OK);
  ASSERT_EQ(OrvikUseHotPixels(0, Orvik_FALSE), Orvik_OK);
  EXPECT_EQ(hotPixelInfo().inRegion, 0);

  reopen();
  const Orvik_HOT_PIXEL_INFO info = hotPixelInfo();
  EXPECT_EQ(info.hasTable, Orvik_TRUE);
  EXPECT_EQ(info.isOn, Orvik_TRUE) << "a camera with a table corrects";
  EXPECT_EQ(info.onSensor, static_cast<int>(found.size()) + 1);
  EXPECT_EQ(info.inRegion, info.onSensor);
  EXPECT_EQ(hotPixels().front(), std::pair(7, 0));
  EXPECT_EQ(OrvikLoadHotPixels(0, &count), Orvik_OK);
  EXPECT_EQ(count, info.onSensor);
}

TEST_F(ServiceTest, ATableForWhichThereIsNoRoomIsRefused) {
  bench_.plug({}, "T01C");
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 2);
  open();  // the T01C: its class comes first
  ASSERT_EQ(OrvikMarkHotPixel(0, {639, 479}, Orvik_TRUE), Orvik_OK);
  ASSERT_EQ(OrvikSaveHotPixels(0), Orvik_OK);
  for (int pixel = 0; pixel < 640 * 480 * 5 / 8; pixel += 8) {
    ASSERT_EQ(OrvikMarkHotPixel(0, {pixel % 640, pixel / 640}, Orvik_TRUE), Orvik_OK);
  }
  EXPECT_EQ(OrvikSaveHotPixels(0), Orvik_ERROR_TABLE_TOO_LARGE);
  EXPECT_GT(hotPixels().size(), 20000U) << "the table at hand stays as it is";
  int count = 0;
  EXPECT_EQ(OrvikLoadHotPixels(0, &count), Orvik_OK);
  EXPECT_EQ(count, 1) << "and so does the one in the flash";
}

TEST_F(ServiceTest, APulseIsAsLongAsToldAndTellsOfALine) {
  open();
  ASSERT_EQ(OrvikPulseGuide(0, Orvik_GUIDE_DIR_3, 30), Orvik_OK);
  const auto log = bench_.host().guideLog(id_);
  ASSERT_EQ(log.size(), 2U);
  EXPECT_GE(log[1].at - log[0].at, std::chrono::milliseconds(30));

  failRequest(1);
  EXPECT_EQ(OrvikPulseGuide(0, Orvik_GUIDE_DIR_0, ORVIK_MAX_PULSE_MS), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_THAT(conversation_.take(), ::testing::ElementsAre("B0", "B1", "B1"))
      << "a line that may be on goes off, without a pulse";
  failRequest(2);
  EXPECT_EQ(OrvikPulseGuide(0, Orvik_GUIDE_DIR_0, 1), Orvik_OK) << "a lost end is repeated";
}

TEST_F(ServiceTest, CaptureForbidsWhatItsStreamWouldSuffer) {
  open();
  ASSERT_EQ(OrvikMarkHotPixel(0, {1, 1}, Orvik_TRUE), Orvik_OK);
  const auto calls = [] {
    unsigned char byte = 0;
    Orvik_ID mark{};
    return std::vector{OrvikGetID(0, &mark),
                       OrvikSetID(0, mark),
                       OrvikSaveHotPixels(0),
                       OrvikLoadHotPixels(0, nullptr),
                       OrvikLoadFirmware(0, "/none"),
                       OrvikFlashFirmware(0, "/none", nullptr, nullptr),
                       OrvikVerifyFirmware(0, "/none", nullptr, nullptr),
                       OrvikReadFlash(0, 0, &byte, 1, nullptr, nullptr)};
  };
  ASSERT_EQ(OrvikSetROIFormat(0, 64, 64, 1, Orvik_IMG_RAW8), Orvik_OK);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  EXPECT_THAT(calls(), ::testing::Each(Orvik_ERROR_VIDEO_RUNNING));
  ASSERT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
  OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 100'000'000, Orvik_FALSE);
  ASSERT_EQ(OrvikStartExposure(0), Orvik_OK);
  EXPECT_THAT(calls(), ::testing::Each(Orvik_ERROR_EXPOSING));
  Orvik_FIRMWARE_VERSION version{};
  EXPECT_EQ(OrvikGetFirmwareVersion(0, &version), Orvik_OK) << "asking does no harm";
  ASSERT_EQ(OrvikStopExposure(0), Orvik_OK);
  auto sent = conversation_.take();
  std::erase_if(sent, [](const std::string& line) {
    return line != "BE" && line != "C4" && line != "C2" && line != "RC3";
  });
  EXPECT_THAT(sent, IsEmpty()) << "nothing of it reached the flash";
}

}  // namespace
}  // namespace orvik::test
