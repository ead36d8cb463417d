// SPDX-License-Identifier: MIT
#include "tools/orvikctl/units.h"

#include <string>

#include "gtest/gtest.h"
#include "tools/orvikctl/progress.h"

namespace orvik::ctl {
namespace {

TEST(Duration, TakesUnits) {
  const std::pair<const char*, std::int64_t> good[] = {
      {"0s", 0},          {"1500us", 1500}, {"20ms", 20000},      {"2.5s", 2500000},
      {"250us", 250},     {"0.0325ms", 33}, {"3min", 180000000},  {"1e3us", 1000},
      {"2h", 7200000000}, {"2 s", 2000000}, {"3000s", 3000000000}};
  for (const auto& [text, microseconds] : good)
    EXPECT_EQ(parseDuration(text), microseconds) << text;
  for (const char* bad : {"", "s", "0", "250", "-1s", "+1s", "1d", "1sec", "1s ", "nan", "inf",
                          "1e300s", "1,5s", "0x10", "1.5.2s"}) {
    EXPECT_FALSE(parseDuration(bad)) << bad;
  }
}

TEST(Region, TakesSizeAndPosition) {
  const auto sized = parseRegion("640x480");
  ASSERT_TRUE(sized);
  EXPECT_EQ(sized->width, 640);
  EXPECT_EQ(sized->height, 480);
  EXPECT_FALSE(sized->position);
  const auto placed = parseRegion("640X480+8+0");
  ASSERT_TRUE(placed && placed->position);
  EXPECT_EQ(placed->position->x, 8);
  EXPECT_EQ(placed->position->y, 0);
  for (const char* bad : {"", "640", "640x", "x480", "0x480", "640x-2", "640x480+1", "640x480+1+",
                          "640x480+1+2+3", "640x480 ", "640x480+-1+2", "99999999999x2"}) {
    EXPECT_FALSE(parseRegion(bad)) << bad;
  }
}

TEST(Setting, SplitsAutoOff) {
  EXPECT_EQ(parseSetting("200")->value, "200");
  EXPECT_FALSE(parseSetting("200")->isAuto);
  EXPECT_EQ(parseSetting("20ms:auto")->value, "20ms");
  EXPECT_TRUE(parseSetting("20ms:auto")->isAuto);
  EXPECT_FALSE(parseSetting("auto")->value);
  EXPECT_FALSE(parseSetting(""));
  EXPECT_FALSE(parseSetting(":auto"));
}

TEST(Integer, MustFit32Bits) {
  EXPECT_EQ(parseInteger("-35"), -35);
  for (const char* bad : {"", "1.5", "12a", " 1", "2147483648"}) EXPECT_FALSE(parseInteger(bad));
}

TEST(ProgressText, LeavesUnknownPartsOut) {
  EXPECT_EQ(progressText({.done = 3, .total = {}, .rate = {}, .lost = {}, .secondsLeft = {}}),
            "3 frames");
  EXPECT_EQ(progressText({.done = 3, .total = 9, .rate = 30.06, .lost = 2, .secondsLeft = 64.2}),
            "3/9 frames, 30.1 frames/s, 2 lost, 1:05 left");
}

}  // namespace
}  // namespace orvik::ctl
