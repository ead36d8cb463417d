// SPDX-License-Identifier: MIT
// What a recording says of itself: its rate, what has limited it, and the text beside it.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "imaging/errors.h"
#include "tests/imaging/test_image.h"
#include "tools/orvikctl/recording/rate_limit.h"
#include "tools/orvikctl/recording/raw_hint.h"
#include "tools/orvikctl/recording/sidecar.h"

namespace orvik::ctl {
namespace {

/// Frames whose times are late by so much, in ms.
FrameCourse courseOf(int frames, double intervalMs, const std::vector<double>& late,
                     int lostBeforeLast = 0) {
  FrameCourse course;
  for (int i = 0; i < frames; ++i) {
    FrameInfo frame;
    frame.number = i + (i == frames - 1 ? lostBeforeLast : 0);
    const double delay = static_cast<std::size_t>(i) < late.size() ? late[std::size_t(i)] : 0;
    const double ms = static_cast<double>(frame.number) * intervalMs + delay;
    frame.exposureStart = 1'000'000'000 + static_cast<std::int64_t>(1e6 * ms);
    frame.utcOffset = 1'700'000'000'000'000'000;
    frame.exposureUs = 2000;
    course.add(frame);
  }
  return course;
}

TEST(FrameCourse, FirstFramesThatComeLateDoNotChangeTheRate) {
  const FrameCourse late = courseOf(128, 1000.0 / 128, {105, 99, 93, 86});
  EXPECT_NEAR(late.rate().value(), 128, 0.1);
  EXPECT_NEAR(late.seconds(), 127.0 / 128, 1e-3);
  const FrameCourse lost = courseOf(101, 10, {}, 100);
  EXPECT_NEAR(lost.rate().value(), 50, 0.1) << "lost frames count";
  EXPECT_FALSE(courseOf(3, 4, {8, 4}).rate()) << "too few to tell";
  EXPECT_NEAR(courseOf(3, 10'000, {8, 4}).rate().value(), 0.1, 1e-3);
  EXPECT_NEAR(courseOf(2000, 5, {100}).rate().value(), 200, 3);
  EXPECT_FALSE(courseOf(1, 5, {}).rate());
}

TEST(RateLimit, TellsTheCauseAndWhatWouldBeFaster) {
  using Cause = RateLimit::Cause;
  const auto limit = [](const RateFacts& facts) { return rateLimitOf(facts).value(); };
  EXPECT_EQ(limit({.rate = 20, .exposureSeconds = 0.05}).cause, Cause::kExposure);
  EXPECT_EQ(limit({.rate = 0.48, .exposureSeconds = 2}).cause, Cause::kExposure)
      << "exposure and read-out take turns";
  const RateLimit readout = limit({.rate = 128,
                                   .exposureSeconds = 0.001,
                                   .atFullBandwidth = 128,
                                   .atLowerBandwidth = 128,
                                   .atHighSpeed = 300});
  EXPECT_EQ(readout.cause, Cause::kReadout);
  EXPECT_NE(readout.text.find("--high-speed on, with up to 300.0 frames/s"), std::string::npos);
  EXPECT_EQ(limit({.rate = 128, .atHighSpeed = 128}).text.find("high-speed"), std::string::npos);
  const RateLimit lowered = limit({.rate = 17, .atFullBandwidth = 34, .isSlowPort = true});
  EXPECT_EQ(lowered.cause, Cause::kBandwidth);
  EXPECT_NE(lowered.text.find("--bandwidth 100"), std::string::npos);
  EXPECT_NE(lowered.text.find("USB 3 port"), std::string::npos);
  const RateLimit full = limit({.rate = 34, .atLowerBandwidth = 30});
  EXPECT_EQ(full.cause, Cause::kBandwidth);
  EXPECT_EQ(full.text.find("--bandwidth"), std::string::npos);
  EXPECT_FALSE(rateLimitOf({}));
}

TEST(RawHint, NamesTheLayoutAsFfmpegDoes) {
  imaging::ImageInfo info;
  info.width = 320;
  info.height = 240;
  info.mosaic = BAYER_GB;
  EXPECT_EQ(ffmpegPixelFormat(info), "bayer_gbrg8");
  info.type = Orvik_IMG_RAW16;
  EXPECT_EQ(rawHint(info, 128.04, "-"),
            "ffplay -f rawvideo -pixel_format bayer_gbrg16le -video_size 320x240 -framerate 128 "
            "-i -");
  info.mosaic.reset();
  EXPECT_EQ(ffmpegPixelFormat(info), "gray16le");
  info.type = Orvik_IMG_RGB24;
  EXPECT_EQ(ffmpegPixelFormat(info), "bgr24");
}

class SidecarTest : public imaging::FileTest {};

TEST_F(SidecarTest, TellsOnlyWhatIsKnown) {
  RecordedPart part;
  part.course = courseOf(101, 10, {});
  part.lost = 3;
  part.info.instrument = "Vek T15C";
  part.info.width = 320;
  part.info.height = 240;
  part.info.object = "Jupiter\n[x]";
  const std::string text = sidecarText(part, {{"Gamma", "50"}}, {{"Part", "2"}});
  EXPECT_TRUE(
      text.starts_with("[Vek T15C]\nFrameCount=101\nLostFrames=3\n"
                       "StartCapture=2023-11-14T22:13:21.000000Z\n"
                       "MidCapture=2023-11-14T22:13:21.501000Z\n"
                       "EndCapture=2023-11-14T22:13:22.002000Z\nDuration=1.002s\n"
                       "FramesPerSecond=100.00\n"))
      << text;
  for (const char* line : {"\nROI=320x240\n", "\nExposure=2.000ms\n", "\nGamma=50\n",
                           "\nObject=Jupiter [x]\n", "\nPart=2\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line;
  }
  for (const char* name : {"Telescope", "BayerPattern", "TemperatureTarget", "GainEnd"}) {
    EXPECT_EQ(text.find(name), std::string::npos) << name;
  }
}

TEST_F(SidecarTest, ReplacesItsOwnTextOnly) {
  std::ofstream(file("notes.txt")) << "mine";
  EXPECT_THROW(Sidecar(file("notes.txt"), false), imaging::FileExists);
  Sidecar sidecar(file("a.txt"), false);
  EXPECT_TRUE(sidecar.isDue());
  sidecar.write("first, and longer");
  EXPECT_FALSE(sidecar.isDue());
  sidecar.write("second");
  std::stringstream text;
  text << std::ifstream(file("a.txt")).rdbuf();
  EXPECT_EQ(text.str(), "second");
  EXPECT_EQ(filesInFolder(), 2U);
}

}  // namespace
}  // namespace orvik::ctl
