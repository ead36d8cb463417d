// SPDX-License-Identifier: MIT
// Tests the functions that identify a camera: the list of connected cameras, handles that stay
// valid when indices change, and the events of plugging and unplugging.
#include "seam/identity.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <future>
#include <string>
#include <vector>

#include "orvik/orvik_service.h"
#include "sim/fault/fault_host.h"
#include "support/fault_script.h"
#include "support/scripted_bench.h"
#include "support/virtual_bench.h"
#include "usb/t15c_descriptors.h"

namespace orvik::test {
namespace {

using ::testing::ElementsAre;

std::vector<Orvik_DEVICE> listed() {
  std::vector<Orvik_DEVICE> devices(8);
  int count = -1;
  EXPECT_EQ(OrvikListDevices(devices.data(), 8, &count), Orvik_OK);
  devices.resize(static_cast<std::size_t>(count));
  return devices;
}

std::vector<std::string> serials() {
  std::vector<std::string> all;
  for (const Orvik_DEVICE& device : listed()) all.emplace_back(device.serial);
  return all;
}

int opened(const char* identity) {
  int handle = 0;
  EXPECT_EQ(OrvikOpenDevice(identity, &handle), Orvik_OK) << identity;
  return handle;
}

/// Virtual cameras with small frames, each with its own serial number.
class IdentityTest : public ::testing::Test {
 protected:
  static constexpr int kWidth = 320;
  static constexpr int kHeight = 240;

  ~IdentityTest() override {
    for (const Orvik_DEVICE& device : listed()) OrvikCloseCamera(device.handle);
    for (int index = 0; index < 4; ++index) OrvikCloseCamera(index);
    bench_.host().unplugAll();
    OrvikGetNumOfConnectedCameras();
  }

  int plug(std::uint32_t serial, const char* model = "T15C") {
    sim::CameraOptions options;
    options.serial = serial;
    options.sceneKind = sim::SceneKind::kGrey;
    return bench_.plug(options, model);
  }

  /// @param number index or handle
  void startVideo(int number) {
    EXPECT_EQ(OrvikSetROIFormat(number, kWidth, kHeight, 1, Orvik_IMG_RAW8), Orvik_OK);
    EXPECT_EQ(OrvikStartVideoCapture(number), Orvik_OK);
    EXPECT_EQ(frame(number), Orvik_OK);
  }

  Orvik_ERROR_CODE frame(int number, int waitMs = 20'000) {
    return OrvikGetVideoData(number, image_.data(), static_cast<int>(image_.size()), waitMs);
  }

  static Orvik_NO_FRAME_REASON reason(int number) {
    auto reason = static_cast<Orvik_NO_FRAME_REASON>(-1);
    EXPECT_EQ(OrvikGetNoFrameReason(number, &reason), Orvik_OK);
    return reason;
  }

  VirtualBench bench_;
  std::vector<unsigned char> image_ = std::vector<unsigned char>(std::size_t{kWidth} * kHeight);
};

TEST_F(IdentityTest, AHandleStreamsOnWhenAnotherCameraGoesAndIndicesShift) {
  const int first = plug(0x11111111);
  plug(0x22222222);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 2);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  ASSERT_EQ(OrvikOpenCamera(1), Orvik_OK);
  startVideo(0);
  startVideo(1);
  int handle = 0;
  ASSERT_EQ(OrvikGetHandle(1, &handle), Orvik_OK);
  EXPECT_GE(handle, ORVIK_FIRST_HANDLE);

  bench_.host().unplug(first);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  EXPECT_EQ(frame(1), Orvik_ERROR_CAMERA_INDEX) << "as indices are";
  for (int n = 0; n < 5; ++n) EXPECT_EQ(frame(handle), Orvik_OK);
  ASSERT_EQ(listed().size(), 1U);
  EXPECT_EQ(listed()[0].handle, handle) << "a program that has lost its index finds it again";
  EXPECT_EQ(opened("22222222"), handle);
  EXPECT_EQ(OrvikCloseCamera(handle), Orvik_OK);

  EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK) << "the unplugged one";
  EXPECT_EQ(OrvikOpenCamera(0), Orvik_OK) << "index and camera are free again";
  int next = 0;
  ASSERT_EQ(OrvikGetHandle(0, &next), Orvik_OK);
  EXPECT_GT(next, handle) << "a handle is never given twice";
}

TEST_F(IdentityTest, ACameraThatSortsBeforeAnOpenOneCanBeOpened) {
  const int gone = plug(0x11111111);
  plug(0x22222222);
  bench_.host().unplug(gone);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  startVideo(0);
  plug(0x33333333);  // on the preceding port
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 2);
  EXPECT_THAT(serials(), ElementsAre("33333333", "22222222"));
  EXPECT_EQ(OrvikOpenCamera(1), Orvik_ERROR_OPEN_FAILED) << "that one is open as index 0";

  const int handle = opened("33333333");
  startVideo(handle);
  EXPECT_EQ(frame(0), Orvik_OK);
  EXPECT_EQ(frame(handle), Orvik_OK);
}

TEST_F(IdentityTest, OneCameraIsOpenedOnceWhicheverWay) {
  plug(0xAAAA0001);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  const int handle = opened("aaaa0001");
  EXPECT_EQ(opened("2-1"), handle);
  EXPECT_EQ(OrvikOpenCamera(0), Orvik_ERROR_OPEN_FAILED);
  EXPECT_EQ(frame(0), Orvik_ERROR_NO_CAMERA_OBJECT) << "it has no index";
  EXPECT_EQ(OrvikOpenCamera(handle), Orvik_OK) << "which is open";
  Orvik_CAMERA_INFO info{};
  EXPECT_EQ(OrvikGetCameraProperty(&info, handle), Orvik_OK);
  EXPECT_EQ(info.cameraIndex, handle);
  EXPECT_STREQ(info.name, "Vek T15C");
  EXPECT_EQ(OrvikCloseCamera(handle), Orvik_OK);

  int other = -7;
  EXPECT_EQ(OrvikCloseCamera(handle), Orvik_OK) << "as closing a closed index does";
  EXPECT_EQ(OrvikGetHandle(handle, &other), Orvik_ERROR_NO_CAMERA_OBJECT);
  EXPECT_EQ(OrvikOpenCamera(handle), Orvik_ERROR_NO_CAMERA_OBJECT);
  EXPECT_EQ(OrvikGetCameraProperty(&info, handle), Orvik_ERROR_NO_CAMERA_OBJECT);
  constexpr int kNeverGiven = 0x7FFFFFFF;
  EXPECT_EQ(OrvikGetHandle(kNeverGiven, &other), Orvik_ERROR_CAMERA_INDEX);
  EXPECT_EQ(OrvikCloseCamera(kNeverGiven), Orvik_ERROR_CAMERA_INDEX);
  EXPECT_EQ(OrvikOpenCamera(kNeverGiven), Orvik_ERROR_CAMERA_INDEX);
  EXPECT_EQ(OrvikGetCameraProperty(&info, kNeverGiven), Orvik_ERROR_INFO_INDEX);
  EXPECT_EQ(other, -7);

  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  const int second = opened("AAAA0001");
  EXPECT_EQ(OrvikCloseCamera(second), Orvik_OK);
  EXPECT_EQ(frame(0), Orvik_ERROR_NO_CAMERA_OBJECT) << "closed by either of its numbers";
}

TEST_F(IdentityTest, RefusesWhatItCannotTellApart) {
  plug(0x55555555);
  plug(0x55555555, "T14C");
  const auto devices = listed();
  ASSERT_EQ(devices.size(), 2U);
  EXPECT_STREQ(devices[0].identity, "2-1") << "the serial number does not tell it apart";
  EXPECT_STREQ(devices[1].identity, "2-2");
  int handle = -7;
  EXPECT_EQ(OrvikOpenDevice("55555555", &handle), Orvik_ERROR_SEVERAL_DEVICES);
  EXPECT_EQ(OrvikOpenDevice("2-3", &handle), Orvik_ERROR_NO_DEVICE);
  EXPECT_EQ(OrvikOpenDevice("0", &handle), Orvik_ERROR_NO_DEVICE) << "an index is no identity";
  EXPECT_EQ(OrvikOpenDevice("", &handle), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(OrvikOpenDevice(nullptr, &handle), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(OrvikOpenDevice("2-1", nullptr), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(handle, -7);
  Orvik_CAMERA_INFO info{};
  ASSERT_EQ(OrvikGetCameraProperty(&info, opened("2-2")), Orvik_OK);
  EXPECT_STREQ(info.name, "Vek T14C");

  int count = -7;
  Orvik_DEVICE one{};
  EXPECT_EQ(OrvikListDevices(nullptr, 1, &count), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(OrvikListDevices(&one, 1, nullptr), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(OrvikListDevices(&one, -1, &count), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(count, -7);
  EXPECT_EQ(OrvikListDevices(&one, 1, &count), Orvik_OK);
  EXPECT_EQ(count, 2);
  EXPECT_STREQ(one.name, "Vek T15C");
}

TEST_F(IdentityTest, TellsOfPluggingAndUnplugging) {
  std::int32_t changes = 0;
  ASSERT_EQ(OrvikWaitForDeviceChange(&changes, 0), Orvik_OK);
  EXPECT_EQ(OrvikWaitForDeviceChange(&changes, 1), Orvik_ERROR_TIMEOUT);
  EXPECT_EQ(OrvikWaitForDeviceChange(&changes, -1), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(OrvikWaitForDeviceChange(nullptr, 0), Orvik_ERROR_ARGUMENT);

  const std::int32_t before = changes;
  const int id = plug(0x11111111);
  EXPECT_EQ(OrvikWaitForDeviceChange(&changes, 0), Orvik_OK) << "what came between two calls";
  EXPECT_NE(changes, before);

  const auto whenChanged = [&] {
    return std::async(std::launch::async, [known = changes]() mutable {
      return OrvikWaitForDeviceChange(&known, 60'000) == Orvik_OK ? known : 0;
    });
  };
  auto one = whenChanged();
  auto another = whenChanged();
  bench_.host().unplug(id);
  EXPECT_EQ(one.get(), another.get());
  EXPECT_TRUE(listed().empty());

  ASSERT_EQ(OrvikWaitForDeviceChange(&changes, 0), Orvik_OK);
  auto onNextHost = whenChanged();
  installHost(std::make_shared<sim::SimHost>());
  EXPECT_GT(onNextHost.get(), changes) << "another host took the bus's place";
  installHost(std::make_shared<testing::FakeHost>());
  EXPECT_EQ(OrvikWaitForDeviceChange(&changes, 60'000), Orvik_ERROR_NOT_SUPPORTED);
  installHost(bench_.sharedHost());
}

TEST_F(IdentityTest, TellsOfACameraThatComesBackByItself) {
  const auto faults = std::make_shared<fault::FaultHost>(bench_.sharedHost());
  installHost(faults);
  plug(0x11111111);
  const int handle = opened("11111111");
  faults->setScript(scriptOf("control replug 50"));
  std::int32_t changes = 0;
  ASSERT_EQ(OrvikWaitForDeviceChange(&changes, 0), Orvik_OK);
  EXPECT_EQ(OrvikSetControlValue(handle, Orvik_CTL_GAIN, 5, Orvik_FALSE),
            Orvik_ERROR_DRIVER_FAILED);
  faults->setScript({});
  while (listed().empty()) ASSERT_EQ(OrvikWaitForDeviceChange(&changes, 60'000), Orvik_OK);
  EXPECT_EQ(listed()[0].handle, 0) << "what comes back is another device";
  EXPECT_NE(opened("11111111"), handle);
  EXPECT_EQ(OrvikCloseCamera(handle), Orvik_OK);
}

TEST_F(IdentityTest, TellsWhyNoFrameCame) {
  const int id = plug(0x11111111);
  const int handle = opened("11111111");
  EXPECT_EQ(reason(handle), Orvik_NO_FRAME_NONE);
  EXPECT_EQ(frame(handle, 0), Orvik_ERROR_NO_FRAME);
  EXPECT_EQ(reason(handle), Orvik_NO_FRAME_STOPPED);
  ASSERT_EQ(OrvikSetControlValue(handle, Orvik_CTL_EXPOSURE, 900'000, Orvik_FALSE), Orvik_OK);
  ASSERT_EQ(OrvikSetROIFormat(handle, kWidth, kHeight, 1, Orvik_IMG_RAW8), Orvik_OK);
  ASSERT_EQ(OrvikStartVideoCapture(handle), Orvik_OK);
  EXPECT_EQ(frame(handle, 0), Orvik_ERROR_NO_FRAME);
  EXPECT_EQ(reason(handle), Orvik_NO_FRAME_TIMEOUT);
  EXPECT_EQ(OrvikGetVideoData(handle, image_.data(), 1, 0), Orvik_ERROR_BUFFER_SMALL);
  EXPECT_EQ(reason(handle), Orvik_NO_FRAME_TIMEOUT) << "a refused call is none";
  EXPECT_EQ(frame(handle), Orvik_OK);
  EXPECT_EQ(reason(handle), Orvik_NO_FRAME_NONE);

  auto waiting = std::async(std::launch::async, [&] {
    while (frame(handle, -1) == Orvik_OK) {
    }
    return reason(handle);
  });
  bench_.host().unplug(id);
  EXPECT_EQ(waiting.get(), Orvik_NO_FRAME_UNPLUGGED);
  EXPECT_EQ(OrvikStartExposure(handle), Orvik_OK);
  EXPECT_EQ(OrvikGetDataAfterExp(handle, image_.data(), static_cast<int>(image_.size())), Orvik_OK);
  EXPECT_EQ(reason(handle), Orvik_NO_FRAME_UNPLUGGED) << "which the code does not tell";
  EXPECT_EQ(OrvikGetNoFrameReason(handle, nullptr), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(OrvikCloseCamera(handle), Orvik_OK);
}

TEST_F(IdentityTest, ASnapshotOfSpoiltFramesHasFailed) {
  sim::CameraOptions options;
  options.frameFilter = [](std::vector<std::uint8_t>& bytes) {
    bytes[0] ^= 0xFF;
    return true;
  };
  options.pace = sim::Pace::kFree;
  bench_.plug(options);
  const int handle = opened("2-1");
  ASSERT_EQ(OrvikSetControlValue(handle, Orvik_CTL_EXPOSURE, 600'000, Orvik_FALSE), Orvik_OK);
  ASSERT_EQ(OrvikSetROIFormat(handle, kWidth, kHeight, 1, Orvik_IMG_RAW8), Orvik_OK);
  ASSERT_EQ(OrvikStartExposure(handle), Orvik_OK);
  EXPECT_TRUE(eventually([&] {
    Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
    OrvikGetExpStatus(handle, &status);
    return status == Orvik_EXPSTATE_FAILED;
  }));
  EXPECT_EQ(OrvikGetDataAfterExp(handle, image_.data(), static_cast<int>(image_.size())), Orvik_OK);
  EXPECT_EQ(reason(handle), Orvik_NO_FRAME_FAILED);
}

TEST_F(IdentityTest, TellsHowTheCameraReadsOut) {
  plug(0x11111111);
  const int camera = opened("11111111");
  Orvik_READOUT_INFO info{};
  const auto readout = [&] {
    EXPECT_EQ(OrvikGetReadoutInfo(camera, &info), Orvik_OK);
    return info;
  };
  EXPECT_EQ(readout().frameBytes, 1304 * 976) << "the format that a camera comes up with";
  ASSERT_EQ(OrvikSetROIFormat(camera, 1304, 976, 1, Orvik_IMG_RAW16), Orvik_OK);
  ASSERT_EQ(OrvikSetControlValue(camera, Orvik_CTL_EXPOSURE, 1000, Orvik_FALSE), Orvik_OK);
  EXPECT_EQ(readout().converterBits, 12);
  EXPECT_EQ(info.frameBytes, 1304 * 976 * 2);
  // At 18562 kHz the shortest line of the sensor has 292 cycles, and a frame has 18 lines more than
  // the image has rows.
  EXPECT_NEAR(info.frameRate, 18'562'000.0 / 292 / (976 + 18), 0.01);
  ASSERT_EQ(OrvikSetControlValue(camera, Orvik_CTL_EXPOSURE, 250'000, Orvik_FALSE), Orvik_OK);
  EXPECT_NEAR(readout().frameRate, 4, 0.01) << "the exposure decides";
  ASSERT_EQ(OrvikSetControlValue(camera, Orvik_CTL_EXPOSURE, 2'000'000, Orvik_FALSE), Orvik_OK);
  EXPECT_LT(readout().frameRate, 0.5) << "the host exposes first and reads out then";
  EXPECT_GT(info.frameRate, 0.49);

  ASSERT_EQ(OrvikSetControlValue(camera, Orvik_CTL_HIGH_SPEED_MODE, 1, Orvik_FALSE), Orvik_OK);
  EXPECT_EQ(readout().converterBits, 12) << "16-bit frames are as before";
  ASSERT_EQ(OrvikSetROIFormat(camera, 1304, 976, 1, Orvik_IMG_RGB24), Orvik_OK);
  EXPECT_EQ(readout().converterBits, 10);
  EXPECT_EQ(info.frameBytes, 1304 * 976 * 3);
  EXPECT_EQ(OrvikGetReadoutInfo(camera, nullptr), Orvik_ERROR_ARGUMENT);
}

/// Cameras that the system has no information about, and that count how often they are opened.
class ScriptedIdentity : public ::testing::Test {
 protected:
  ~ScriptedIdentity() override {
    for (const Orvik_DEVICE& device : listed()) OrvikCloseCamera(device.handle);
  }

  ScriptedCamera& plug(std::uint16_t productId, const std::u16string& serial) {
    const auto port = static_cast<std::uint8_t>(cameras_.size() + 1);
    ScriptedCamera& camera = cameras_.emplace_back(productId, port);
    setSerial(camera, serial);
    bench_.plug(camera);
    return camera;
  }

  static void setSerial(ScriptedCamera& camera, const std::u16string& serial) {
    camera.descriptors.entries[0x0100][16] = serial.empty() ? 0 : 3;
    camera.descriptors.entries[0x0300] = testing::languages();
    camera.descriptors.entries[0x0303] = testing::stringDescriptor(serial);
  }

  ScriptedBench bench_;
  std::deque<ScriptedCamera> cameras_;
};

TEST_F(ScriptedIdentity, ListingAsksACameraOnceAndClaimsNothing) {
  const ScriptedCamera& camera = plug(identity::PID_T06C_SC, u"K\u00D6LN-7");
  const ScriptedCamera& plain = plug(identity::PID_T06C, u"");
  const ScriptedCamera& unknown = plug(0x7777, u"X1");
  const auto devices = listed();
  ASSERT_EQ(devices.size(), 3U);
  EXPECT_STREQ(devices[0].name, "Vek T06C-SC");
  EXPECT_STREQ(devices[0].serial, "K?LN-7");
  EXPECT_STREQ(devices[0].identity, "K?LN-7");
  EXPECT_STREQ(devices[1].serial, "");
  EXPECT_STREQ(devices[1].identity, "1-2");
  EXPECT_STREQ(devices[2].name, "");
  const auto asked = camera.device->requests.size() + plain.device->requests.size();
  listed();
  EXPECT_EQ(camera.device->requests.size() + plain.device->requests.size(), asked);
  EXPECT_TRUE(camera.device->claimed.empty());
  EXPECT_EQ(camera.device->openPorts, 0);
  int handle = 0;
  EXPECT_EQ(OrvikOpenDevice("X1", &handle), Orvik_ERROR_NO_CAMERA_OBJECT);
  EXPECT_EQ(unknown.device->openPorts, 0);

  bench_.host->plugged.erase(bench_.host->plugged.begin());
  listed();
  bench_.plug(camera);
  listed();
  EXPECT_GT(camera.device->requests.size() + plain.device->requests.size(), asked)
      << "plugged in again, it is asked again";
}

TEST_F(ScriptedIdentity, ADeviceThatIsAnotherOneOnceOpenIsRefused) {
  ScriptedCamera& camera = plug(identity::PID_T06C, u"AAAA");
  ASSERT_THAT(serials(), ElementsAre("AAAA"));
  setSerial(camera, u"BBBB");  // exchanged without a reported unplug
  int handle = 0;
  EXPECT_EQ(OrvikOpenDevice("AAAA", &handle), Orvik_ERROR_OPEN_FAILED);
  EXPECT_EQ(camera.device->openPorts, 0);
  setSerial(camera, u"AAAA");
  EXPECT_EQ(OrvikOpenDevice("AAAA", &handle), Orvik_OK);
  camera.device->requests.clear();
  EXPECT_THAT(serials(), ElementsAre("AAAA"));
  EXPECT_TRUE(camera.device->requests.empty()) << "what is open here is not asked";

  OrvikCloseCamera(handle);
  ASSERT_THAT(serials(), ElementsAre("AAAA"));
  setSerial(camera, u"");
  ASSERT_EQ(OrvikOpenDevice("AAAA", &handle), Orvik_OK);
  EXPECT_THAT(serials(), ElementsAre("AAAA")) << "it was found by what it had told before";

  camera.device->control = [](const auto&) {
    return testing::Answer{.status = seam::TransferStatus::kNoDevice};
  };
  OrvikSetControlValue(handle, Orvik_CTL_GAIN, 5, Orvik_FALSE);
  EXPECT_EQ(listed()[0].handle, 0) << "what is there now is not what went";
  OrvikCloseCamera(handle);
}

TEST(LibraryText, EveryCodeHasAText) {
  EXPECT_STREQ(OrvikGetVersion(), "0.1.0");
  const std::string unknown = OrvikErrorText(static_cast<Orvik_ERROR_CODE>(-5));
  for (int code = 0; code <= Orvik_ERROR_NOT_SUPPORTED; ++code) {
    const bool isCode = code <= Orvik_ERROR_DRIVER_FAILED || code >= Orvik_ERROR_ARGUMENT;
    const bool isReserved = code == Orvik_ERROR_RESERVED_12;
    EXPECT_EQ(OrvikErrorText(static_cast<Orvik_ERROR_CODE>(code)) != unknown, isCode && !isReserved)
        << code;
  }
}

}  // namespace
}  // namespace orvik::test
