// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "orvik/orvik_sim.h"
#include "sim/plug_options.h"
#include "usb/current_host.h"

namespace orvik::test {
namespace {

TEST(PlugOptions, AllOfThemAreRead) {
  sim::CameraOptions options;
  EXPECT_EQ(sim::parsePlugOptions("port=usb2,serial=00c0FFEE,seed=18446744073709551615,"
                                  "scene=moon,pace=free,light=0.5,ambient=-12.5",
                                  options),
            "");
  EXPECT_FALSE(options.usb3Port);
  EXPECT_EQ(options.serial, 0xC0FFEEU);
  EXPECT_EQ(options.seed, 18446744073709551615U);
  EXPECT_EQ(options.sceneKind, sim::SceneKind::kMoon);
  EXPECT_EQ(options.pace, sim::Pace::kFree);
  EXPECT_EQ(options.light, 0.5);
  EXPECT_EQ(options.ambient, -12.5);
}

TEST(PlugOptions, AnythingElseIsRefusedWithASentence) {
  for (const char* text : {"port",
                           "port=",
                           "port=usb1",
                           "port=usb3,port=usb3",
                           "PORT=usb3",
                           "colour=red",
                           "serial=123",
                           "serial=0123456G",
                           "serial=123456789",
                           "seed=-1",
                           "seed=18446744073709551616",
                           "seed=1x",
                           "scene=Stars",
                           "pace=fast",
                           "light=0",
                           "light=1001",
                           "light=nan",
                           "light=inf",
                           "light=1 ",
                           "ambient=61",
                           "ambient=",
                           "port=usb3,",
                           ",port=usb3",
                           "port=usb3,,pace=free",
                           "=",
                           "port =usb3",
                           " port=usb3"}) {
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

TEST(SimInterface, EveryListedModelCanBePlugged) {
  int count = 0;
  for (; const char* code = OrvikSimModel(count); ++count) {
    EXPECT_GT(OrvikSimPlug(code, nullptr), 0) << code;
  }
  EXPECT_EQ(count, 37) << "25 models, some of them sold as several products";
  std::vector<Orvik_SIM_CAMERA> cameras(static_cast<std::size_t>(count));
  ASSERT_EQ(OrvikSimList(cameras.data(), count), count);
  for (int n = 0; n < count; ++n) {
    EXPECT_STREQ(cameras[static_cast<std::size_t>(n)].model, OrvikSimModel(n));
  }
  OrvikSimUnplugAll();
  EXPECT_EQ(OrvikSimModel(-1), nullptr);
  EXPECT_EQ(OrvikSimModel(count + 1), nullptr);
}

}  // namespace
}  // namespace orvik::test
