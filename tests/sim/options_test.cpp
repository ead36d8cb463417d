// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>

#include "orvik/orvik_sim.h"
#include "sim/plug_options.h"
#include "support/scratch_folder.h"
#include "usb/current_host.h"

namespace orvik::test {
namespace {

TEST(PlugOptions, AllOfThemAreRead) {
  sim::CameraOptions options;
  EXPECT_EQ(sim::parsePlugOptions("port=usb2,serial=00c0FFEE,seed=18446744073709551615,"
                                  "scene=moon,pace=free,light=0.5,colour=1:0.5:0,"
                                  "ambient=-12.5,flash=/a=b,link=12.5,latency=250,"
                                  "latch=immediate,mode-change=cut,clear-halt=keep,"
                                  "drift=1.5:-0.5,guide-rate=12,guide-angle=-30,seeing=2.5,"
                                  "focus=-8:8.5:60",
                                  options),
            "");
  EXPECT_EQ(options.link.rate, sim::LinkOptions::Rate::kOfCable);
  EXPECT_EQ(options.link.bytesPerSecond, 12.5e6);
  EXPECT_EQ(options.link.latency, std::chrono::microseconds(250));
  EXPECT_EQ(options.temperament.latch, sim::Temperament::Latch::kImmediate);
  EXPECT_EQ(options.temperament.modeChange, sim::Temperament::ModeChange::kCut);
  EXPECT_EQ(options.temperament.clearHalt, sim::Temperament::ClearHalt::kKeep);
  EXPECT_FALSE(options.usb3Port);
  EXPECT_EQ(options.serial, 0xC0FFEEU);
  EXPECT_EQ(options.seed, 18446744073709551615U);
  EXPECT_EQ(options.sceneKind, sim::SceneKind::kMoon);
  EXPECT_EQ(options.pace, sim::Pace::kFree);
  EXPECT_EQ(options.light, 0.5);
  EXPECT_EQ(options.colour, (sim::LightColour{1, 0.5, 0}));
  EXPECT_EQ(options.ambient, -12.5);
  EXPECT_EQ(options.flashPath, "/a=b");
  EXPECT_EQ(options.telescope, (sim::TelescopeOptions{{1.5, -0.5}, 12, -30, 2.5, {-8, 8.5, 60}}));
  sim::CameraOptions constant;
  EXPECT_EQ(sim::parsePlugOptions("focus=-3", constant), "");
  EXPECT_EQ(constant.telescope.focus, (sim::FocusCourse{0, -3, 0}));
}

TEST(PlugOptions, AnythingElseIsRefusedWithASentence) {
  std::istringstream texts(
      "port|port=usb1|port=usb3,port=usb3|colour=green|colour=1:1:1:1|colour=1:1:|"
      "colour=1:1:1.5|hue=red|serial=123|serial=0123456G|seed=18446744073709551616|seed=1x|"
      "scene=Stars|link=0|latency=50001|latch=|light=0|light=1001|light=nan|ambient=61|"
      "flash=|port=usb3,|=|port =usb3|mode-change=keep|"
      "drift=1|drift=1:2:3|drift=1:|drift=:1|drift=101:0|drift=nan:0|guide-rate=-1|guide-rate=|"
      "guide-angle=361|seeing=21|focus=51|focus=1:2|focus=1:2:0|focus=1:2:3:4|focus=1::3");
  for (std::string text; std::getline(texts, text, '|');) {
    sim::CameraOptions options;
    const std::string refusal = sim::parsePlugOptions(text, options);
    ASSERT_FALSE(refusal.empty()) << text;
    EXPECT_EQ(refusal.back(), '.') << refusal;
  }
}

TEST(SimInterface, PluggingPutsVirtualCamerasInThePlaceOfTheBus) {
  const int first = OrvikSimPlug("T15C", nullptr);
  ASSERT_GT(first, 0);
  const int second = OrvikSimPlug("T15C", "port=usb2,serial=0000ABCD");
  ASSERT_GT(second, first);
  EXPECT_STREQ(OrvikSimLastError(), "");
  EXPECT_EQ(currentHost()->devices().size(), 2U);

  Orvik_SIM_CAMERA cameras[2];
  ASSERT_EQ(OrvikSimList(cameras, 2), 2);
  EXPECT_EQ(cameras[0].id, first);
  EXPECT_STREQ(cameras[1].model, "T15C");
  EXPECT_STREQ(cameras[1].serial, "0000ABCD");
  EXPECT_EQ(cameras[0].usb3Port, Orvik_TRUE);
  EXPECT_EQ(cameras[1].usb3Port, Orvik_FALSE);
  EXPECT_NE(cameras[0].bus, cameras[1].bus);
  cameras[1].id = -5;
  EXPECT_EQ(OrvikSimList(cameras, 1), 2);
  EXPECT_EQ(cameras[1].id, -5) << "not to be written";
  EXPECT_EQ(OrvikSimList(nullptr, 0), 2);

  EXPECT_EQ(OrvikSimUnplug(first), 1);
  EXPECT_EQ(OrvikSimUnplug(first), 0);
  OrvikSimUnplugAll();
  EXPECT_EQ(OrvikSimList(nullptr, 0), 0);
  EXPECT_EQ(OrvikSimUnplug(second), 0);
}

TEST(SimInterface, AFileThatIsNoFlashIsLeftAlone) {
  const ScratchFolder folder;
  const std::string option = "flash=" + folder.file("flash.bin");
  ASSERT_GT(OrvikSimPlug("T15C", option.c_str()), 0) << OrvikSimLastError();
  OrvikSimUnplugAll();
  std::filesystem::resize_file(folder.file("flash.bin"), 1000);
  EXPECT_EQ(OrvikSimPlug("T15C", option.c_str()), -1) << "not to be taken for a flash";
  EXPECT_EQ(OrvikSimPlug("T15C", ("flash=" + folder.path()).c_str()), -1);
  EXPECT_EQ(std::filesystem::file_size(folder.file("flash.bin")), 1000U);
}

TEST(SimInterface, BadArgumentsAreExplained) {
  EXPECT_EQ(OrvikSimPlug("T99X", ""), -1);
  EXPECT_NE(std::strstr(OrvikSimLastError(), "T99X"), nullptr);
  EXPECT_EQ(OrvikSimPlug(nullptr, ""), -1);
  EXPECT_STRNE(OrvikSimLastError(), "");
  EXPECT_EQ(OrvikSimPlug("T15C", "pace=warp"), -1);
  EXPECT_NE(std::strstr(OrvikSimLastError(), "pace"), nullptr);
  EXPECT_EQ(OrvikSimList(nullptr, 0), 0);
  EXPECT_EQ(OrvikSimUnplug(0), 0);
  OrvikSimUnplugAll();
}

}  // namespace
}  // namespace orvik::test
