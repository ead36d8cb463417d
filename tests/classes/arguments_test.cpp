// SPDX-License-Identifier: MIT
// Calls every member with null pointers and invalid values, for a camera that is closed, open or
// capturing, and for an object without memory. The members may fail but must not crash.
#include <limits>
#include <memory>

#include "classes/camera_impl.h"
#include "classes/class_bench.h"

namespace orvik::test {
namespace {

constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();

/// An object whose constructor got no memory.
class Empty final : public CCameraCool {
 public:
  Empty() : CCameraCool(nullptr) {}
};

void expectNullsRefused(CCameraBase& camera) {
  EXPECT_FALSE(camera.GetImage(nullptr, 1000, 0));
  EXPECT_FALSE(camera.GetControlCaps(0, nullptr));
  EXPECT_FALSE(camera.GetControlValue(Orvik_CTL_GAIN, nullptr, nullptr));
  EXPECT_FALSE(camera.SendCMD(0xAD, 0, 0, true, nullptr, 2));
  EXPECT_FALSE(camera.SendCMD(0xA0, 0, 0, false, nullptr, 2));
  EXPECT_FALSE(camera.ReadCameraRegister(0x3000, nullptr));
  EXPECT_FALSE(camera.ReadCameraRegisterByte(0x3000, nullptr));
  EXPECT_FALSE(camera.ReadSONYREG(0x3000, nullptr));
  EXPECT_FALSE(camera.ReadFPGAREG(1, nullptr));
  EXPECT_FALSE(camera.GetFirmwareVer(nullptr));
  EXPECT_FALSE(camera.ReadIDFromSPI(nullptr));
  EXPECT_FALSE(camera.DownloadBufferToDevice(0, 4, nullptr, 0xA0));
  EXPECT_FALSE(camera.UploadBufferFromDevice(0, 4, nullptr, 0xA0));
  EXPECT_FALSE(camera.WriteToSPIFlash(nullptr, 4, 0, 0xC2));
  EXPECT_FALSE(camera.ReadFromSPIFlash(nullptr, 4, 0, 0xC3));
  EXPECT_NE(camera.DownloadFw(nullptr, FWDWNLOAD_RAM), FWDWNLOAD_SUCCESS);
  EXPECT_NE(camera.DownloadFwToRam(nullptr, 100, 0xA0), FWDWNLOAD_SUCCESS);
  EXPECT_NE(camera.DownloadBuftoI2CE2PROM(nullptr, 100, 0xBA), FWDWNLOAD_SUCCESS);
  EXPECT_NE(camera.DownloadBuftoSPIFLASH(nullptr, 100, 0xC4), FWDWNLOAD_SUCCESS);
  EXPECT_FALSE(camera.UpdateFW(nullptr, 100));
  EXPECT_FALSE(camera.UpdateFW2RAM(nullptr, 100));
  EXPECT_NE(camera.LoadBMPFromFile(nullptr), 1);
  EXPECT_EQ(camera.SaveBMPToFile(nullptr), 0);
  EXPECT_FALSE(camera.Uncompress(nullptr, 100));
}

void expectNullsUnheeded(CCameraBase& camera) {
  camera.GetGain(nullptr);
  camera.GetFPSPerc(nullptr, nullptr);
  camera.GetExp(nullptr);
  camera.GetRGBBalance(nullptr, nullptr, nullptr);
  camera.GetMisc(nullptr, nullptr);
  camera.GetMaxFPS(nullptr, nullptr);
  camera.GetAutoPara(nullptr, nullptr, nullptr);
  camera.GetDarkCount(nullptr, nullptr);
  camera.GetHPSum(nullptr, nullptr);
  camera.GetFPGAVer(nullptr, nullptr);
  camera.GetFPGAVerVal(nullptr, nullptr);
  camera.GetCameraProperty(nullptr);
  camera.AutoExpGain(nullptr);
  camera.AutoWB_RAW(nullptr);
  std::uint8_t byte = 0;
  camera.Get_variance_ave_RAW(&byte, 0, 0, 1, 1, 1, 1, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr);
  camera.Bayer2RGB24(nullptr, nullptr, 2, 2);
  camera.HandleHotPixels(nullptr, camera.GetMaxWidth(), camera.GetMaxHeight(), false);
  camera.DeNoise(kLeast, kMost, kMost, kMost, nullptr);
  EXPECT_EQ(camera.PixelNet(kMost, kLeast, kMost, kMost, static_cast<char>(-128)), 0);
  camera.LoadSetting(nullptr);
  camera.SaveSetting(nullptr);
}

void expectNonsenseRefused(CCameraBase& camera) {
  std::uint8_t byte = 7;
  EXPECT_FALSE(camera.SetResolution(kMost, kMost, kMost, IMAGE_8BIT));
  EXPECT_FALSE(camera.SetResolution(64, 64, 0, IMAGE_8BIT));
  EXPECT_FALSE(camera.SetResolution(64, 64, 1, static_cast<IMAGE_TYPE>(kLeast)));
  EXPECT_FALSE(camera.GetImage(&byte, -1, 0));
  EXPECT_FALSE(camera.SendCMD(0xAD, 0, 0, true, &byte, kMost));
  EXPECT_FALSE(camera.SetTransferCount(-1));
  EXPECT_FALSE(camera.ManualHPC(-1, kMost, true));
  EXPECT_FALSE(camera.GetControlCaps(-1, nullptr));
  EXPECT_FALSE(camera.isAvailable(static_cast<Control_TYPE>(kMost)));
  camera.SetStartPos(kLeast, kMost);
  camera.SetGain(kMost, false);
  camera.SetExp(~std::uint64_t{0}, false);
  camera.SetRGBBalance(kLeast, kMost, false);
  camera.SetAutoPara(kMost, kLeast, kMost);
  camera.Bayer2RGB24(&byte, &byte, kLeast, 0);
  EXPECT_EQ(byte, 7);
}

void expectAll(CCameraBase& camera) {
  expectNullsRefused(camera);
  expectNullsUnheeded(camera);
  expectNonsenseRefused(camera);
}

TEST(ClassArguments, StaticMembers) {
  int length = 9;
  EXPECT_EQ(CCameraBase::CreateBMP(10, 10, nullptr, "/dev/null/x"), 0);
  std::uint8_t byte = 0;
  EXPECT_EQ(CCameraBase::CreateBMP(1, 1, &byte, nullptr), 0);
  EXPECT_EQ(CCameraBase::CreateBMP(kMost, -1, &byte, "/dev/null/x"), 0);
  EXPECT_TRUE(CCameraBase::Compress(nullptr, 100, &length).empty());
  EXPECT_TRUE(CCameraBase::Compress(&byte, kLeast, nullptr).empty());
  EXPECT_EQ(length, 0);
}

TEST(ClassArguments, OfACameraInEveryState) {
  ClassBench<CCameraT15C> bench("T15C");
  expectAll(bench.camera);
  EXPECT_FALSE(bench.camera.InitCamera());
  EXPECT_FALSE(bench.camera.StartCapture(false));
  EXPECT_FALSE(bench.camera.ReConnectCamera());
  EXPECT_FALSE(bench.camera.LoadHPCTable());
  EXPECT_FALSE(bench.camera.WriteIDToSPI({}));
  std::uint16_t word = 9;
  EXPECT_FALSE(bench.camera.ReadCameraRegister(0x3000, &word));
  EXPECT_EQ(word, 0);
  EXPECT_TRUE(bench.camera.CloseCamera());
  bench.open();
  expectAll(bench.camera);
  ASSERT_TRUE(bench.camera.SetExp(1000, false));
  ASSERT_TRUE(bench.camera.SetResolution(64, 64, 1, IMAGE_8BIT));
  ASSERT_TRUE(bench.camera.StartCapture(false));
  expectAll(bench.camera);
  std::vector<unsigned char> image(64 * 64);
  EXPECT_TRUE(bench.camera.SetExp(1000, false));
  EXPECT_TRUE(bench.camera.GetImage(image.data(), 64 * 64, 20000)) << "and it still captures";
}

TEST(ClassArguments, WithoutMemoryEveryMemberFails) {
  VirtualBench bench;
  bench.plug({}, "T13C_C");
  Empty camera;
  expectAll(camera);
  EXPECT_FALSE(camera.OpenCamera(1) || camera.InitCamera() || camera.CloseCamera() ||
               camera.SetGain(1, false) || camera.SetGamma(1) || camera.StartCapture(false) ||
               camera.StopCapture() || camera.GetMaxFPS(nullptr, nullptr) ||
               camera.pulseGuideOn(Orvik_GUIDE_DIR_0) || camera.IsAutoTempWorking());
  EXPECT_EQ(camera.SetControlValue(Orvik_CTL_GAIN, 1, false), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_EQ(camera.GetGain(nullptr), -1);
  EXPECT_EQ(camera.GettingDark(true, 0), 0);
  EXPECT_EQ(camera.GetBMPPath(), "");
  camera.SetAutoTemp(true, 0);
  camera.GetAutoTemp(nullptr, nullptr);
  EXPECT_EQ(camera.GetPowerPerc(), 0);
}

}  // namespace
}  // namespace orvik::test
