// SPDX-License-Identifier: MIT
// Tests what existing compiled programs rely on, and the flat interface together with the classes.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

#include "classes/class_bench.h"
#include "models/models.h"

namespace orvik::test {
namespace {

/// The index of a virtual operation in the virtual table, as encoded by the common C++ ABI.
template <class Member>
std::size_t slotOf(Member member) {
  std::array<std::uintptr_t, 2> parts{};
  static_assert(sizeof member == sizeof parts);
  std::memcpy(parts.data(), &member, sizeof parts);
#if defined(__arm__) || defined(__aarch64__)
  return parts[0] / sizeof(void*);
#else
  return (parts[0] - 1) / sizeof(void*);
#endif
}

TEST(ClassInterface, TheVirtualOperationsKeepTheirPlaces) {
  using Base = CCameraBase;
  const std::array<std::size_t, 21> slots = {
      slotOf(&Base::OpenCamera),    slotOf(&Base::InitCamera),       slotOf(&Base::CloseCamera),
      slotOf(&Base::SetResolution), slotOf(&Base::SetStartPos),      slotOf(&Base::SetGain),
      slotOf(&Base::GetGain),       slotOf(&Base::SetGamma),         slotOf(&Base::GetGamma),
      slotOf(&Base::SetBrightness), slotOf(&Base::SetHighSpeedMode), slotOf(&Base::SetHardwareBin),
      slotOf(&Base::SetFPSPerc),    slotOf(&Base::GetFPSPerc),       slotOf(&Base::SetOverCLKPerc),
      slotOf(&Base::SetRGBBalance), slotOf(&Base::SetExp),           slotOf(&Base::GetImage),
      slotOf(&Base::GetSensorTemp), slotOf(&Base::StartCapture),     slotOf(&Base::StopCapture)};
  for (std::size_t n = 0; n < slots.size(); ++n) EXPECT_EQ(slots.at(n), n);
  static_assert(sizeof(CCameraBase) == 2 * sizeof(void*));
}

#define ORVIK_CHECK_CLASS(code, Family)                                                          \
  static_assert(std::is_final_v<CCamera##code> && !std::is_copy_constructible_v<CCamera##code>); \
  static_assert(sizeof(CCamera##code) == sizeof(CCameraBase));

ORVIK_MODELS(ORVIK_CHECK_CLASS)

#define ORVIK_EXPECT_MODEL(code, Family) expectModel(CCamera##code(), code::kRow);

void expectModel(const CCameraBase& camera, const ModelRow& row) {
  Orvik_CAMERA_INFO info{};
  camera.GetCameraProperty(&info);
  EXPECT_STREQ(info.name, row.name);
  EXPECT_EQ(camera.GetMaxWidth(), row.maxWidth) << row.name;
  EXPECT_EQ(camera.GetMaxHeight(), row.maxHeight) << row.name;
  EXPECT_EQ(camera.getPixelSize(), row.pixelSizeUm) << row.name;
  EXPECT_EQ(camera.getColorBayer(), row.bayer) << row.name;
  EXPECT_EQ(camera.getMAXExposure(), row.exposureUs.max) << row.name;
  EXPECT_EQ(camera.isAvailable(CONTROL_COOLER), row.cooled) << row.name;
  EXPECT_EQ(camera.isAvailable(CONTROL_WB_R), row.colour) << row.name;
  EXPECT_EQ(camera.isImgTypeSupported(Orvik_IMG_RGB24), row.colour) << row.name;
  EXPECT_FALSE(camera.isImgTypeSupported(-1));
  EXPECT_EQ(camera.GetNumOfControls(), static_cast<int>(row.controls.size()));
  Orvik_CONTROL_CAPS caps{};
  EXPECT_TRUE(camera.GetControlCaps(camera.GetNumOfControls() - 1, &caps));
  EXPECT_EQ(caps.controlType, row.controls[row.controls.size() - 1]);
  EXPECT_FALSE(camera.GetControlCaps(camera.GetNumOfControls(), &caps));
}

TEST(ClassInterface, EachClassIsItsModel) {
  VirtualBench bench;
  ORVIK_MODELS(ORVIK_EXPECT_MODEL)
}

TEST(ClassInterface, BothInterfacesSeeTheSameDevice) {
  VirtualBench bench;
  bench.plug();
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  CCameraT15C camera;
  EXPECT_FALSE(camera.OpenCamera(0));
  EXPECT_FALSE(camera.OpenCamera(2));
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  EXPECT_FALSE(camera.OpenCamera(1)) << "busy";
  EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
  ASSERT_TRUE(camera.OpenCamera(1));
  EXPECT_TRUE(camera.OpenCamera(1)) << "it is open";
  EXPECT_FALSE(CCameraT15C().OpenCamera(1)) << "busy for another object too";
  EXPECT_EQ(OrvikOpenCamera(0), Orvik_ERROR_OPEN_FAILED);
  Orvik_CAMERA_INFO info{};
  EXPECT_EQ(OrvikGetCameraProperty(&info, 0), Orvik_OK);
  EXPECT_TRUE(camera.CloseCamera());
  EXPECT_EQ(OrvikOpenCamera(0), Orvik_OK);
  EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
}

TEST(ClassInterface, AnObjectClosesItsCameraInItsLastMoment) {
  VirtualBench bench;
  bench.plug();
  {
    CCameraT15C camera;
    ASSERT_TRUE(camera.OpenCamera(1) && camera.InitCamera() && camera.StartCapture(false));
  }
  EXPECT_TRUE(CCameraT15C().OpenCamera(1));
}

}  // namespace
}  // namespace orvik::test
