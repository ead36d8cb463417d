// SPDX-License-Identifier: MIT
// Formats and sizes that downstream chooses, and the order of the colours in the caps.
#include <array>
#include <numeric>

#include "gstreamer/rig.h"

namespace orvik::gst::testing {
namespace {

using FormatsTest = GstTest;

struct Choice {
  const char* model;
  const char* properties;
  const char* caps;
  const char* format;
  ImageFormat expected;
};

TEST_F(FormatsTest, DownstreamChoosesFormatAndSize) {
  const std::array<Choice, 7> choices{{
      {"T15C", "", "ANY", "BGR", {1304, 976, 1, Orvik_IMG_RGB24, 0, 0}},
      {"T15C", "", "video/x-bayer", "rggb", {1304, 976, 1, Orvik_IMG_RAW8, 0, 0}},
      {"T15C",
       "",
       "video/x-raw,format=GRAY16_LE,width=[1,100],height=[1,51]",
       "GRAY16_LE",
       {100, 50, 1, Orvik_IMG_RAW16, 600, 462}},
      {"T15C", "bin=2", "video/x-bayer", "rggb", {652, 488, 2, Orvik_IMG_RAW8, 0, 0}},
      {"T15C",
       "region-x=104 region-y=76",
       "video/x-raw,format=BGR",
       "BGR",
       {1200, 900, 1, Orvik_IMG_RGB24, 104, 76}},
      {"T15C",
       "region-x=1000 region-y=0",
       "video/x-raw,format=GRAY8,width=640,height=480",
       "GRAY8",
       {640, 480, 1, Orvik_IMG_Y8, 664, 0}},
      {"T06M", "", "ANY", "GRAY8", {1280, 960, 1, Orvik_IMG_RAW8, 0, 0}},
  }};
  for (const Choice& choice : choices) {
    SCOPED_TRACE(std::string(choice.model) + " " + choice.properties + " ! " + choice.caps);
    const int id = plug(choice.model, "pace=free");
    {
      Rig rig(choice.properties, choice.caps);
      rig.play();
      const auto picture = rig.pull();
      ASSERT_TRUE(picture);
      const ImageFormat& expected = choice.expected;
      EXPECT_EQ(picture->format, choice.format);
      EXPECT_EQ(picture->width, expected.width);
      EXPECT_EQ(picture->height, expected.height);
      EXPECT_EQ(picture->bytes.size(), imageBytes(expected.width, expected.height, expected.type));
      ImageFormat real;
      OrvikGetROIFormat(Rig::handle(), &real.width, &real.height, &real.bin, &real.type);
      OrvikGetStartPos(Rig::handle(), &real.startX, &real.startY);
      EXPECT_EQ(real, expected) << real.startX << "," << real.startY;
    }
    OrvikSimUnplug(id);
  }
}

TEST_F(FormatsTest, WhatTheCameraCannotDeliverIsAnErrorThatSaysWhy) {
  plug("T15C");
  const std::array<std::array<const char*, 3>, 4> cases{{
      {"", "video/x-raw,framerate=500/1", "shorter exposure"},
      {"", "video/x-bayer,format=bggr", "order of colours"},
      {"", "video/x-raw,width=2000", "size"},
      {"bin=7", "ANY", "bin"},
  }};
  for (const auto& [properties, caps, words] : cases) {
    SCOPED_TRACE(caps);
    Rig rig(properties, caps);
    rig.play();
    const Failure failure(rig.message(GST_MESSAGE_ERROR));
    EXPECT_EQ(failure.domain, GST_STREAM_ERROR);
    EXPECT_NE(failure.text.find(words), std::string::npos) << failure.text;
  }
}

TEST_F(FormatsTest, ALowerRateIsMadeByLeavingOutFrames) {
  plug("T15C", "scene=dark");
  Rig rig("exposure-time=1000", "video/x-bayer,width=640,height=480,framerate=20/1");
  rig.play();
  const auto first = rig.pull();
  std::unique_ptr<Picture> last;
  constexpr int kMore = 10;
  for (int n = 0; n < kMore; ++n) last = rig.pull();
  ASSERT_TRUE(first && last);
  EXPECT_EQ(last->rateNumerator, 20);
  EXPECT_EQ(last->duration, 50'000'000);
  const double step = double(last->pts - first->pts) / kMore;
  EXPECT_GT(step, 45e6);
  EXPECT_LT(step, 500e6) << "also on a busy computer";
  EXPECT_GT(last->offset - first->offset, 2 * kMore) << "the camera is much faster";
}

/// Where in the cell of 2 x 2 pixels a picture of red light is bright: the name of the mosaic has
/// its 'r' there.
std::size_t brightCorner(const Picture& picture) {
  std::array<std::int64_t, 4> sums{};
  const auto width = static_cast<std::size_t>(picture.width);
  for (std::size_t n = 0; n < picture.bytes.size(); ++n) {
    sums[n / width % 2 * 2 + n % width % 2] += picture.bytes[n];
  }
  return static_cast<std::size_t>(std::max_element(sums.begin(), sums.end()) - sums.begin());
}

/// Waits for a picture with certain facts.
std::unique_ptr<Picture> pullUntil(Rig& rig, const char* field, std::int64_t value) {
  std::unique_ptr<Picture> picture = rig.pull();
  for (int n = 0; n < 50 && picture && picture->fact(field) != value; ++n) picture = rig.pull();
  return picture;
}

TEST_F(FormatsTest, CapsNameTheOrderOfColoursAfterFlips) {
  plug("T15C", "scene=grey,colour=red,light=3");
  Rig rig("exposure-time=5000", "video/x-bayer,height=974,width=640");
  rig.play();
  std::string seen;
  for (const int flip : {0, 1, 2, 3, 0}) {
    SCOPED_TRACE(flip);
    rig.set("flip", flip);
    const auto picture = pullUntil(rig, "flip", flip);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->format.find('r'), brightCorner(*picture)) << picture->format;
    seen += picture->format + " ";
  }
  EXPECT_EQ(seen, "rggb grbg gbrg bggr rggb ");
}

TEST_F(FormatsTest, BinAndRegionChangeWhilePlaying) {
  plug("T15C", "scene=dark");
  Rig rig("exposure-time=1000", "video/x-bayer,width=[4,400],height=[2,300]");
  rig.play();
  ASSERT_TRUE(rig.pull());
  rig.set("region-x", 200);
  auto moved = pullUntil(rig, "start-x", 200);
  ASSERT_TRUE(moved);
  EXPECT_EQ(moved->fact("start-x"), 200);
  EXPECT_EQ(moved->fact("start-y"), 338) << "centred still";
  rig.set("bin", 4);
  const auto binned = pullUntil(rig, "bin", 4);
  ASSERT_TRUE(binned);
  EXPECT_EQ(binned->width, 124) << "from column 200 to the edge";
  EXPECT_EQ(binned->height, 244);
  EXPECT_EQ(binned->bytes.size(), 124U * 244U);
  EXPECT_GT(binned->offset, moved->offset);
}

TEST_F(FormatsTest, AFormatThatAnotherUserSetsIsReplaced) {
  plug("T15C", "scene=dark");
  Rig rig("exposure-time=1000", "video/x-bayer,width=640,height=480");
  rig.play();
  ASSERT_TRUE(rig.pull());
  ASSERT_EQ(OrvikSetROIFormat(Rig::handle(), 320, 240, 1, Orvik_IMG_RAW8), Orvik_OK);
  std::unique_ptr<Picture> picture = rig.pull();
  for (int n = 0; n < 50 && picture && !picture->isDiscontinuous; ++n) picture = rig.pull();
  ASSERT_TRUE(picture);
  EXPECT_TRUE(picture->isDiscontinuous) << "two captures later";
  EXPECT_EQ(picture->width, 640);
  EXPECT_EQ(picture->bytes.size(), 640U * 480U);
}

}  // namespace
}  // namespace orvik::gst::testing
