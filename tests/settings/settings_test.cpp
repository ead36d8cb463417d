// SPDX-License-Identifier: MIT
// A camera starts with the settings of its last use. These tests check which settings are loaded,
// within which limits, and when they are saved.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/registry.h"
#include "delivery/dark_file.h"
#include "models/models.h"
#include "settings/settings_store.h"
#include "support/own_folder.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

using settings::find;
using settings::Group;
using settings::SettingsStore;
using settings::Type;
using settings::Value;
using ::testing::Contains;

constexpr const char* kModel = "T15C";

Value dword(const std::string& name, std::uint32_t number) {
  Value value{name, Type::kDword, {}};
  for (unsigned shift = 0; shift < 32; shift += 8) {
    value.bytes.push_back(static_cast<std::uint8_t>(number >> shift & 0xFFU));
  }
  return value;
}

Value flag(const std::string& name, bool on) {
  return {name, Type::kBinary, {on ? std::uint8_t{1} : std::uint8_t{0}}};
}

Value text(const std::string& name, const std::string& content, std::size_t size) {
  Value value{name, Type::kBinary, {content.begin(), content.end()}};
  value.bytes.resize(size);
  return value;
}

/// @return the store for virtual cameras, which is separate from that for real ones
SettingsStore place() { return SettingsStore::ofUser("virtual").value(); }

void store(const Group& group) { ASSERT_TRUE(place().save("T15C", group)); }

std::optional<Group> stored() { return place().load("T15C"); }

/// Removes the stored values, so that a test can detect the next save.
void forget() {
  std::filesystem::remove_all(std::filesystem::path(std::getenv("XDG_CONFIG_HOME")) / "orvik");
}

/// A value for each setting that differs from that of a new camera. The four offsets are one byte
/// each.
const Group kAll = {
    dword("Exposure", 12345),    dword("Gain", 321),
    dword("Gamma", 60),          dword("Brightness", 17),
    dword("Fclk", 18562),        dword("FPSPercentageUSB2", 55),
    dword("CoolPowerPctg", 45),  dword("TargetTemp", static_cast<std::uint32_t>(-12)),
    dword("OverCLKPerc", 7),     flag("AutoBL", true),
    {"OO", Type::kDword, {1}},   {"EE", Type::kDword, {2}},
    {"OE", Type::kDword, {3}},   {"EO", Type::kDword, {254}},
    dword("AutoGainMax", 222),   dword("AutoExpMax", 11),
    dword("DestBrightness", 77), flag("FlipRow", true),
    flag("FlipColumn", true),    dword("WB_Red", 61),
    dword("WB_Blue", 62),        flag("AutoExp", true),
    flag("AutoGain", true),      flag("AutoFPS", false),
    flag("RawOutput", true),     flag("HighSpeed", true),
    flag("AutoWB", true),        flag("TimeMark", true),
    flag("HPC", true),           flag("HardwareBin", false),
    flag("CutDark", false),      text("BMPPATH", "/home/user/dark.bmp", 256),
};

TEST(Settings, EveryValueComesBack) {
  const VirtualBench bench;
  store(kAll);
  T15C camera;
  const CameraState& state = camera.state();
  EXPECT_EQ(state.exposureUs, 12345U);
  EXPECT_EQ(state.gain, 321);
  EXPECT_EQ(state.targetTemperature, -12);
  EXPECT_EQ(state.blackLevelOffsets[3], 254);
  EXPECT_TRUE(state.flipVertical);
  EXPECT_FALSE(state.hardwareBin);
  EXPECT_STREQ(state.darkPath.data(), "/home/user/dark.bmp");

  forget();
  camera.saveSettings(kModel);
  EXPECT_THAT(stored().value(), ::testing::UnorderedElementsAreArray(kAll));
}

TEST(Settings, ValuesComeWithinTheModelsLimits) {
  const VirtualBench bench;
  T15C untouched;
  store({dword("Exposure", 2'000'000), dword("Gain", 1'000'000'000), dword("Gamma", 0),
         dword("Brightness", 0x80000000), dword("Fclk", 0), dword("FPSPercentageUSB2", 5),
         dword("OverCLKPerc", 500), dword("AutoGainMax", 601), dword("AutoExpMax", 0),
         dword("WB_Red", 100), dword("CoolPowerPctg", 101), dword("TargetTemp", 31),
         text("FlipRow", "xx", 2), text("BMPPATH", std::string(256, 'p'), 256)});
  T15C camera;
  const CameraState& state = camera.state();
  EXPECT_EQ(state.exposureUs, 100'000U);
  EXPECT_EQ(state.gain, 600);
  EXPECT_EQ(state.gamma, 1);
  EXPECT_EQ(state.brightness, 0);
  EXPECT_EQ(state.clockKhz, untouched.state().clockKhz);
  EXPECT_EQ(state.bandwidth, 40);
  EXPECT_EQ(state.overClock, 30);
  EXPECT_EQ(state.autoMaxGain, 600);
  EXPECT_EQ(state.autoMaxExposure, 1);
  EXPECT_EQ(state.whiteBalanceRed, 99);
  EXPECT_EQ(state.coolerPower, 100);
  EXPECT_EQ(state.targetTemperature, 30);
  EXPECT_FALSE(state.flipHorizontal) << "longer than its member";
  EXPECT_EQ(state.darkPath.back(), '\0');

  store({{"Gain", Type::kDword, {44}}, {"Exposure", Type::kDword, {}}});
  EXPECT_EQ(T15C().state().gain, 44);
  ASSERT_TRUE(place().save("T01C", Group{flag("AutoFPS", true)}));
  EXPECT_FALSE(T01C().state().bandwidthAuto) << "it cannot find its bandwidth by itself";
}

TEST(Settings, ReachTheSensorAndTheBandwidthOfTheHostsGeneration) {
  store({dword("Gain", 321), dword("FPSPercentageUSB3", 70), dword("FPSPercentageUSB2", 55),
         flag("AutoFPS", false)});
  for (const bool usb3 : {true, false}) {
    Conversation conversation;
    VirtualBench bench;
    sim::CameraOptions options;
    options.usb3Port = usb3;
    options.controlObserver = observerOf(conversation);
    bench.plug(options);
    T15C camera;
    ASSERT_TRUE(camera.open(1));
    ASSERT_TRUE(camera.initialise());
    EXPECT_EQ(camera.state().bandwidth, usb3 ? 70 : 55);
    EXPECT_THAT(conversation.take(), Contains("S3015=01")) << "gain 321 has a high byte";
    camera.setBandwidth(usb3 ? 71 : 56, false);
    camera.saveSettings(kModel);
  }
  EXPECT_EQ(*find(stored().value(), "FPSPercentageUSB3"), dword("FPSPercentageUSB3", 71))
      << "saving on USB 2 leaves it";
  EXPECT_EQ(*find(stored().value(), "FPSPercentageUSB2"), dword("FPSPercentageUSB2", 56));
}

TEST(Settings, VirtualCamerasLeaveThoseOfRealOnesAlone) {
  ASSERT_TRUE(SettingsStore::ofUser().value().save("T15C", Group{dword("Gain", 77)}));
  const VirtualBench bench;
  T15C camera;
  EXPECT_NE(camera.state().gain, 77);
  installHost(nullptr);  // the camera is still a virtual one
  camera.saveSettings(kModel);
  EXPECT_TRUE(stored());
  EXPECT_EQ(*find(SettingsStore::ofUser().value().load("T15C").value(), "Gain"), dword("Gain", 77));
}

class SavingTest : public ::testing::Test {
 protected:
  SavingTest() {
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kDark;
    bench_.plug(options);
    camera_->open(1);
    camera_->initialise();
    camera_->setResolution(320, 240, 1, IMAGE_8BIT);
  }

  static bool hasSaved() {
    const bool saved = stored().has_value();
    forget();
    return saved;
  }

  VirtualBench bench_;
  std::unique_ptr<T15C> camera_ = std::make_unique<T15C>();
};

TEST_F(SavingTest, VideoIsSavedWhenItStops) {
  camera_->stopCapture();
  EXPECT_FALSE(hasSaved()) << "nothing was captured";
  camera_->setGain(123, false);
  camera_->startCapture(false);
  EXPECT_FALSE(hasSaved());
  camera_->stopCapture();
  EXPECT_TRUE(hasSaved());
  camera_->close();
  EXPECT_FALSE(hasSaved()) << "once";
}

TEST_F(SavingTest, CloseSavesOnceWhateverTheCaptureWas) {
  camera_->startCapture(true);
  camera_->stopCapture();
  EXPECT_FALSE(hasSaved());
  camera_->close();
  EXPECT_TRUE(hasSaved());
  camera_->close();
  camera_.reset();
  EXPECT_FALSE(hasSaved());
}

TEST_F(SavingTest, CloseSavesWhatHasChangedSinceTheLastSave) {
  camera_->close();
  EXPECT_FALSE(hasSaved()) << "opened and closed, with a region set";

  const auto open = [&] { return camera_->open(1) && camera_->initialise(); };
  ASSERT_TRUE(open());
  camera_->setGain(123, false);
  camera_->close();
  EXPECT_EQ(*find(stored().value(), "Gain"), dword("Gain", 123)) << "without a capture";

  ASSERT_TRUE(open());
  camera_->startCapture(false);
  camera_->stopCapture();
  camera_->setGain(124, false);
  camera_->close();
  EXPECT_EQ(*find(stored().value(), "Gain"), dword("Gain", 124)) << "after a video's stop";

  ASSERT_TRUE(open());
  camera_->setGain(125, false);
  camera_->startCapture(false);
  bench_.host().unplugAll();
  ASSERT_TRUE(
      eventually([&] { return camera_->isUnplugged() && !camera_->capture().isRunning(); }));
  camera_->close();
  EXPECT_EQ(*find(stored().value(), "Gain"), dword("Gain", 125)) << "after an unplug";
}

TEST(Settings, TheFlatInterfaceKnowsNoTimeMark) {
  VirtualBench bench;
  bench.plug();
  store({flag("TimeMark", true)});
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  Orvik_ERROR_CODE error = Orvik_OK;
  EXPECT_FALSE(Registry::instance().find(0, error)->driver->state().timeMark);
  OrvikCloseCamera(0);
}

TEST(Saving, WhatACameraSettlesByItselfIsNoChange) {
  VirtualBench bench;
  bench.plug({}, "T13C_C");
  // Initialisation changes the host's bandwidth, the clock, the cooler's power and the hot pixels.
  const Group before = {dword("CoolPowerPctg", 40), dword("Fclk", 18562), flag("HPC", true),
                        dword("FPSPercentageUSB3", 70), flag("TimeMark", true)};
  ASSERT_TRUE(place().save("T13C-C", before));
  T13C_C camera;
  ASSERT_TRUE(camera.open(1));
  camera.state().timeMark.store(false);  // as the flat interface does whenever it opens a camera
  ASSERT_TRUE(camera.initialise());
  camera.close();
  EXPECT_THAT(place().load("T13C-C").value(), ::testing::UnorderedElementsAreArray(before));
}

class KeptDark : public ::testing::Test {
 protected:
  KeptDark() { bench_.plug(); }

  /// @return a camera that subtracts a dark frame loaded from a file
  std::unique_ptr<T15C> cameraWithDark(const std::string& path) {
    const std::vector<std::uint8_t> pixels(std::size_t{1304} * 976, 7);
    EXPECT_TRUE(writeDarkFile(path, 1304, 976, pixels));
    auto camera = std::make_unique<T15C>();
    EXPECT_TRUE(camera->open(1) && camera->initialise());
    EXPECT_EQ(camera->dark().load(path), DarkFileResult::kDone);
    camera->dark().use(true);
    return camera;
  }

  OwnFolder own_;
  VirtualBench bench_;
};

TEST_F(KeptDark, IsReadWhenTheCameraIsSetUp) {
  cameraWithDark(own_.path() / "dark.bmp")->close();
  T15C camera;
  EXPECT_FALSE(camera.dark().isLoaded()) << "a camera that is only asked what it is";
  camera.saveSettings(kModel);
  EXPECT_EQ(*find(stored().value(), "CutDark"), flag("CutDark", true));
  ASSERT_TRUE(camera.open(1) && camera.initialise());
  EXPECT_TRUE(camera.dark().isInUse());
  camera.dark().setPath("/d");
  camera.saveSettings(kModel);
  EXPECT_EQ(*find(stored().value(), "BMPPATH"), text("BMPPATH", "/d", 256)) << "and nothing else";
}

TEST_F(KeptDark, IsNotSwitchedOnWithoutAPath) {
  std::filesystem::path folder = own_.path();
  while (folder.native().size() < 256) folder /= std::string(100, 'f');
  std::filesystem::create_directories(folder);
  const auto camera = cameraWithDark(folder / "dark.bmp");
  EXPECT_TRUE(camera->dark().isInUse());
  camera->saveSettings(kModel);
  EXPECT_EQ(*find(stored().value(), "CutDark"), flag("CutDark", false));
  EXPECT_EQ(*find(stored().value(), "BMPPATH"), text("BMPPATH", "", 256));
}

TEST_F(SavingTest, DestructionDuringVideoSavesDuringASnapshotNot) {
  camera_->startCapture(false);
  camera_.reset();
  EXPECT_TRUE(hasSaved());
  camera_ = std::make_unique<T15C>();
  camera_->open(1);
  camera_->initialise();
  camera_->startCapture(true);
  camera_.reset();
  EXPECT_FALSE(hasSaved());
}

}  // namespace
}  // namespace orvik::test
