// SPDX-License-Identifier: MIT
// Typical use of a camera object: each group of members accesses the camera and returns what it
// read.
#include <gmock/gmock.h>

#include <array>
#include <cmath>

#include "classes/class_bench.h"

namespace orvik::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;

using T15CBench = ClassBench<CCameraT15C>;

TEST(ClassMembers, RequestsOfOnesOwn) {
  T15CBench bench("T15C");
  bench.open();
  CCameraT15C& camera = bench.camera;
  std::array<std::uint8_t, 2> version{};
  EXPECT_TRUE(camera.SendCMD(0xAD, 0, 0, true, version.data(), 2));
  EXPECT_EQ(version[0], 'V');
  EXPECT_TRUE(camera.SendCMD(0xB6, 0x3009, 0x12, false, nullptr, 0));
  EXPECT_TRUE(camera.StopUSBStreaming());
  EXPECT_FALSE(camera.WriteCameraRegister(0x3012, 0x240)) << "this sensor has 8 bits a register";
  EXPECT_TRUE(camera.WriteSONYREG(0x3014, 7));
  EXPECT_TRUE(camera.WriteFPGAREG(13, 128));
  EXPECT_TRUE(camera.EnableGPIF32DQ(false));
  EXPECT_TRUE(camera.pulseGuide(Orvik_GUIDE_DIR_2, 1));
  EXPECT_TRUE(camera.pulseGuideOn(static_cast<GuideD>(-1))) << "does nothing";
  EXPECT_THAT(bench.conversation.take(), ElementsAre("RAD", "S3009=12", "AA", "W3012=0240",
                                                     "S3014=07", "F13=80", "BE", "B0", "B1"));
  std::uint8_t value = 0;
  EXPECT_TRUE(camera.ReadSONYREG(0x3014, &value));
  EXPECT_EQ(value, 7);
  ASSERT_TRUE(camera.StopSensorCLK());
  EXPECT_FALSE(camera.ReadCameraRegisterByte(0x3014, &value));
  EXPECT_EQ(value, 0);
  EXPECT_TRUE(camera.StartSensorCLK());
  EXPECT_TRUE(camera.ResetEndPoint(0x81));
  EXPECT_TRUE(camera.ResetDevice());
}

TEST(ClassMembers, VersionsAreAskedForAndKept) {
  T15CBench bench("T15C");
  bench.open();
  std::uint8_t firmware = 0;
  EXPECT_TRUE(bench.camera.GetFirmwareVer(&firmware));
  EXPECT_EQ(firmware, 0x12);
  EXPECT_EQ(bench.camera.GetFWVer(), 0x12);
  for (const bool asks : {true, false}) {
    std::uint8_t major = 0;
    std::array<std::uint8_t, 4> digits{};
    if (asks) {
      EXPECT_TRUE(bench.camera.GetFPGAVer(&major, digits.data()));
    } else {
      bench.camera.GetFPGAVerVal(&major, digits.data());
    }
    EXPECT_EQ(major, 1);
    EXPECT_THAT(digits, ElementsAre(2, 0, 2, 6));
  }
  EXPECT_TRUE(bench.camera.IsUSB3Host());
}

TEST(ClassMembers, WhatWasSetIsTold) {
  T15CBench bench("T15C");
  bench.open();
  CCameraT15C& camera = bench.camera;
  camera.SetMisc(true, false);
  camera.SetRGBBalance(30, 70, true);
  camera.SetAutoPara(400, 20, 90);
  EXPECT_TRUE(camera.SetGain(123, true));
  EXPECT_TRUE(camera.SetExp(20000, false));
  EXPECT_TRUE(camera.SetFPSPerc(60, false));
  EXPECT_TRUE(camera.SetBrightness(17));
  EXPECT_TRUE(camera.SetGamma(40));
  EXPECT_FALSE(camera.SetOverCLKPerc(5)) << "this model cannot";
  bool one = false;
  bool two = true;
  int first = 0;
  int second = 0;
  int third = 0;
  camera.GetMisc(&one, &two);
  EXPECT_TRUE(one && !two);
  camera.GetRGBBalance(&first, &second, &one);
  EXPECT_TRUE(first == 30 && second == 70 && one);
  camera.GetAutoPara(&first, &second, &third);
  EXPECT_TRUE(first == 400 && second == 20 && third == 90);
  EXPECT_EQ(camera.GetGain(&one), 123);
  EXPECT_TRUE(one);
  EXPECT_EQ(camera.GetExp(&one), 20000U);
  EXPECT_FALSE(one);
  EXPECT_TRUE(camera.GetFPSPerc(&first, &one));
  EXPECT_TRUE(first == 60 && !one);
  EXPECT_EQ(camera.GetBrightness(), 17);
  EXPECT_EQ(camera.GetGamma(), 40);
  float frameRate = 0;
  float dataRate = 0;
  EXPECT_TRUE(camera.GetMaxFPS(&frameRate, &dataRate));
  EXPECT_NEAR(dataRate, frameRate * 1304 * 976 / 1e6, 0.1);
  EXPECT_GT(frameRate, 10);
}

TEST(ClassMembers, ImagesComeInTheFormatThatWasSet) {
  sim::CameraOptions options;
  options.sceneKind = sim::SceneKind::kGrey;
  options.noise = false;
  T15CBench bench("T15C", options);
  bench.open();
  CCameraT15C& camera = bench.camera;
  EXPECT_FALSE(camera.SetResolution(321, 240, 1, IMAGE_8BIT));
  EXPECT_FALSE(camera.SetResolution(320, 240, 1, static_cast<IMAGE_TYPE>(5)));
  ASSERT_TRUE(camera.SetResolution(320, 240, 2, IMAGE_RGB24));
  EXPECT_TRUE(camera.SetStartPos(100, 50));
  EXPECT_THAT(bench.take(3 * 320 * 240), Contains(::testing::Gt(20)));
  ASSERT_TRUE(camera.SetResolution(64, 64, 1, IMAGE_8BIT));
  camera.SetRGBBalance(25, 75, false);
  for (const bool raw : {false, true}) {
    camera.SetRawOutput(raw);
    EXPECT_EQ(camera.IsRawOutput(), raw);
    const auto grey = bench.take(64 * 64);
    EXPECT_EQ(std::abs(grey[1024] - grey[1025]) > 5, raw) << "red beside green: " << +grey[1024];
  }
  ASSERT_TRUE(camera.SetResolution(64, 64, 1, IMAGE_RAW16));
  EXPECT_TRUE(camera.IsOutput16Bits());
  ASSERT_TRUE(camera.StartCapture(true));
  std::vector<unsigned char> image(2 * 64 * 64);
  EXPECT_FALSE(camera.GetImage(image.data(), 64 * 64, 0xFFFFFFFF)) << "it does not fit";
  EXPECT_TRUE(camera.GetImage(image.data(), 2 * 64 * 64, 0xFFFFFFFF));
  EXPECT_TRUE(camera.StopCapture());
  EXPECT_FALSE(camera.GetImage(image.data(), 2 * 64 * 64, 0));
}

TEST(ClassMembers, TheModesOfTheSensorOneByOne) {
  T15CBench bench("T15C");
  bench.open();
  CCameraT15C& camera = bench.camera;
  EXPECT_TRUE(camera.SetCMOSClk(9281));
  EXPECT_EQ(camera.GetCMOSClk(), 9281);
  EXPECT_FALSE(camera.SetCMOSClk(0));
  EXPECT_FALSE(camera.SetCMOSClk(-5));
  EXPECT_EQ(camera.GetCMOSClk(), 9281);
  camera.SetCMOSClk();
  EXPECT_EQ(camera.GetCMOSClk(), 18562) << "of the present mode";
  camera.SetOutput16Bits(true);
  EXPECT_TRUE(camera.IsOutput16Bits());
  bench.conversation.take();
  camera.Cam_SetResolution();
  EXPECT_THAT(bench.conversation.take(), Contains(StartsWith("F")));
  camera.CalcMaxFPS();
}

TEST(ClassMembers, TheCoolersNumbersDriveNothing) {
  ClassBench<CCameraT13C_C> bench("T13C_C");
  bench.open();
  CCameraT13C_C& camera = bench.camera;
  camera.SetAutoTemp(false, -9.9F);
  bench.conversation.take();
  EXPECT_EQ(camera.SetControlValue(Orvik_CTL_TARGET_TEMP, 5, false), Orvik_OK);
  EXPECT_EQ(camera.SetControlValue(Orvik_CTL_COOLER_ON, 1, false), Orvik_ERROR_CONTROL);
  EXPECT_EQ(camera.SetControlValue(18, 1, false), Orvik_ERROR_CONTROL);
  EXPECT_EQ(camera.SetControlValue(-1, 1, false), Orvik_ERROR_CONTROL);
  EXPECT_EQ(camera.SetControlValue(Orvik_CTL_OVERCLK, 1, false), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_EQ(camera.SetControlValue(Orvik_CTL_GAIN, 7, false), Orvik_OK);
  EXPECT_THAT(bench.conversation.take(), Not(Contains(StartsWith("B2="))));
  std::int32_t value = 0;
  Orvik_BOOL automatic = Orvik_TRUE;
  EXPECT_TRUE(camera.GetControlValue(Orvik_CTL_TARGET_TEMP, &value, &automatic));
  EXPECT_EQ(value, -9);
  EXPECT_TRUE(camera.GetControlValue(Orvik_CTL_COOLER_ON, &value, &automatic));
  EXPECT_EQ(value, 0);
  EXPECT_TRUE(camera.GetControlValue(Orvik_CTL_GAIN, &value, &automatic));
  EXPECT_EQ(value, 7);
  EXPECT_FALSE(camera.GetControlValue(18, &value, &automatic));
  EXPECT_EQ(automatic, Orvik_FALSE);
}

TEST(ClassMembers, TheCoolerIsDriven) {
  ClassBench<CCameraT13C_C> bench("T13C_C");
  bench.open();
  CCameraT13C_C& camera = bench.camera;
  EXPECT_TRUE(camera.IsAutoTempWorking());
  camera.SetPowerPerc(150);
  EXPECT_EQ(camera.GetPowerPerc(), 100);
  EXPECT_THAT(bench.conversation.take(), Contains("B2=2F"));
  camera.StopAutoTempThr();
  EXPECT_FALSE(camera.IsAutoTempWorking());
  EXPECT_EQ(camera.GetPowerPerc(), 0);
  EXPECT_THAT(bench.conversation.take(), Contains("B2=FF"));
  camera.SetDA(100);
  camera.SetDA(-1);
  camera.SetDA(1 << 20);
  EXPECT_THAT(bench.conversation.take(), ElementsAre("B2=64", "B2=00", "B2=FF"));
  EXPECT_NEAR(camera.GetADTemp(), 20, 1);
  EXPECT_NEAR(camera.CalculTempuature(128, 10), 25, 1);
  EXPECT_EQ(CCameraCool::CalculDA(0.1F), 220);
  EXPECT_EQ(CCameraCool::CalculDA(std::nanf("")), 255);
  EXPECT_EQ(CCameraCool::CalculIPerc(-1000), 100);
  EXPECT_EQ(CCameraCool::CalculIPerc(255), 0);
  bool on = false;
  float target = 0;
  camera.SetAutoTemp(true, std::nanf(""));
  camera.GetAutoTemp(&on, &target);
  EXPECT_TRUE(on);
  EXPECT_EQ(target, 0);
}

TEST(ClassMembers, TheCommandsOfASensor) {
  ClassBench<CCameraT02C> bench("T02C");
  bench.open();
  std::uint16_t value = 0;
  EXPECT_TRUE(bench.camera.WriteVar16(0x0114, 0x12));
  EXPECT_TRUE(bench.camera.changeConfig());
  EXPECT_TRUE(bench.camera.ReadVar16(0x0114, &value));
  EXPECT_EQ(value, 0x12);
  EXPECT_TRUE(bench.camera.issueCommand(2));
  EXPECT_EQ(bench.camera.getState(), 1);
  EXPECT_FALSE(bench.camera.ReadVar16(0x0114, nullptr));
  EXPECT_EQ(CCameraT02C::GainValue2Reg(50), 68);
}

TEST(ClassMembers, SettingsLiveUnderAKey) {
  T15CBench bench("T15C");
  bench.open();
  bench.camera.SetGain(321, false);
  bench.camera.SaveSetting(L"SOFTWARE\\mine");
  bench.camera.SetGain(5, false);
  bench.camera.LoadSetting(L"SOFTWARE\\nobody's");
  EXPECT_EQ(bench.camera.GetGain(nullptr), 5);
  bench.camera.LoadSetting(L"mine");
  EXPECT_EQ(bench.camera.GetGain(nullptr), 321);
  bench.camera.SetGain(123, false);
  EXPECT_TRUE(bench.camera.CloseCamera());
  EXPECT_EQ(CCameraT15C().GetGain(nullptr), 123) << "as the next camera of the model begins";
}

}  // namespace
}  // namespace orvik::test
