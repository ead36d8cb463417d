// SPDX-License-Identifier: MIT
// States, properties of a running source, and what goes wrong.
#include <gst/controller/controller.h>

#include <chrono>
#include <thread>

#include "gstreamer/rig.h"

namespace orvik::gst::testing {
namespace {

using PlayingTest = GstTest;
using Clock = std::chrono::steady_clock;
constexpr const char* kSmall = "video/x-bayer,width=640,height=480";

std::chrono::milliseconds since(Clock::time_point begun) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begun);
}

TEST_F(PlayingTest, PropertiesChangeTheRunningCamera) {
  plug("T15C", "scene=dark");
  Rig rig("exposure-time=1000 gain=10", kSmall);
  rig.play();
  auto picture = rig.pull();
  ASSERT_TRUE(picture);
  EXPECT_GT(picture->rateNumerator, 0);
  rig.set("exposure-time", 60000, "gain", 33);
  for (int n = 0; n < 50 && picture->fact("exposure-time") != 60000; ++n) picture = rig.pull();
  EXPECT_EQ(picture->fact("gain"), 33);
  EXPECT_EQ(picture->rateNumerator, 0) << "the rate of the caps is not true any more";
  EXPECT_NEAR(double(picture->duration), 60e6, 3e6);

  rig.set("exposure-auto", TRUE);
  int exposure = 0;
  gboolean isAuto = FALSE;
  g_object_get(rig.source(), "exposure-auto", &isAuto, "exposure-time", &exposure, nullptr);
  EXPECT_TRUE(isAuto);
  EXPECT_GE(exposure, 60000) << "it starts from the present value";
  rig.set("exposure-auto", FALSE, "gain", 65535);
  int gain = 0;
  g_object_get(rig.source(), "exposure-auto", &isAuto, "gain", &gain, nullptr);
  EXPECT_FALSE(isAuto);
  EXPECT_EQ(gain, 600) << "the limit of this camera";
}

TEST_F(PlayingTest, AControllerChangesTheGainFromFrameToFrame) {
  plug("T15C", "scene=dark");
  Rig rig("exposure-time=1000", kSmall);
  GstControlSource* const course = gst_interpolation_control_source_new();
  g_object_set(course, "mode", GST_INTERPOLATION_MODE_LINEAR, nullptr);
  auto* const points = GST_TIMED_VALUE_CONTROL_SOURCE(course);
  gst_timed_value_control_source_set(points, 0, 0);
  gst_timed_value_control_source_set(points, 2 * GST_SECOND, 600);
  gst_object_add_control_binding(
      GST_OBJECT(rig.source()),
      gst_direct_control_binding_new_absolute(GST_OBJECT(rig.source()), "gain", course));
  gst_object_unref(course);
  rig.play();
  std::int64_t last = -1;
  int rises = 0;
  for (int n = 0; n < 30; ++n) {
    const auto picture = rig.pull();
    ASSERT_TRUE(picture);
    if (picture->fact("gain") > last) ++rises;
    last = picture->fact("gain");
  }
  EXPECT_GT(rises, 5);
}

TEST_F(PlayingTest, OpeningFailsWithAReason) {
  Rig none;
  EXPECT_FALSE(none.setState(GST_STATE_READY));
  EXPECT_EQ(Failure(none.message(GST_MESSAGE_ERROR)).code, GST_RESOURCE_ERROR_NOT_FOUND);
  plug("T15C");
  plug("T06M", "serial=00000006");
  Rig several;
  EXPECT_FALSE(several.setState(GST_STATE_READY));
  EXPECT_EQ(Failure(several.message(GST_MESSAGE_ERROR)).code, GST_RESOURCE_ERROR_SETTINGS);
  Rig named("device=00000006 target-temperature=-10", "video/x-raw");
  named.play();
  const auto picture = named.pull();
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 1280);
  EXPECT_TRUE(named.message(GST_MESSAGE_WARNING)) << "it has no cooler, and works all the same";
  Rig again("device=00000006");
  EXPECT_FALSE(again.setState(GST_STATE_READY)) << "it is in use";
}

TEST_F(PlayingTest, UnplugIsAnError) {
  const int id = plug("T15C", "scene=dark");
  Rig rig("exposure-time=1000", kSmall);
  rig.play();
  ASSERT_TRUE(rig.pull());
  OrvikSimUnplug(id);
  const Failure failure(rig.message(GST_MESSAGE_ERROR));
  EXPECT_EQ(failure.domain, GST_RESOURCE_ERROR);
  EXPECT_EQ(failure.code, GST_RESOURCE_ERROR_READ);
  EXPECT_NE(failure.text.find("unplugged"), std::string::npos) << failure.text;
  const auto begun = Clock::now();
  rig.setState(GST_STATE_NULL);
  EXPECT_LT(since(begun).count(), 3000);
}

TEST_F(PlayingTest, ALongExposureCanBeStoppedAtOnce) {
  plug("T11C", "scene=dark");
  Rig rig("exposure-time=2000000000", kSmall);
  rig.play();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  GstQuery* const query = gst_query_new_latency();
  ASSERT_TRUE(gst_element_query(rig.source(), query));
  gboolean isLive = FALSE;
  GstClockTime least = 0;
  gst_query_parse_latency(query, &isLive, &least, nullptr);
  gst_query_unref(query);
  EXPECT_TRUE(isLive);
  EXPECT_NEAR(double(least), 2000e9, 2e9);
  const auto begun = Clock::now();
  rig.setState(GST_STATE_PAUSED);
  rig.setState(GST_STATE_PLAYING);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  rig.setState(GST_STATE_NULL);
  EXPECT_LT(since(begun).count(), 2000) << "usually a quarter of a second";
}

TEST_F(PlayingTest, StartsAndStopsAgain) {
  plug("T15C", "scene=dark");
  Rig rig("exposure-time=1000 num-buffers=3", kSmall);
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE(round);
    ASSERT_TRUE(rig.setState(GST_STATE_PLAYING));
    for (int n = 0; n < 3; ++n) {
      const auto picture = rig.pull();
      ASSERT_TRUE(picture);
      EXPECT_EQ(picture->offset, n);
    }
    EXPECT_TRUE(rig.setState(GST_STATE_NULL));
    EXPECT_FALSE(devices().front().isOpen);
  }
}

TEST_F(PlayingTest, NumbersAndTimesGoOnAfterAPause) {
  plug("T15C", "scene=dark");
  Rig rig("exposure-time=1000", kSmall);
  rig.play();
  std::unique_ptr<Picture> before = rig.pull();
  rig.setState(GST_STATE_PAUSED);
  while (gst_harness_buffers_in_queue(rig.harness()) > 0) before = rig.pull();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  rig.setState(GST_STATE_PLAYING);
  std::unique_ptr<Picture> after = rig.pull();
  // The last picture before the pause may have been on its way.
  if (after && !after->isDiscontinuous) before = std::exchange(after, rig.pull());
  ASSERT_TRUE(before && after);
  EXPECT_TRUE(after->isDiscontinuous);
  EXPECT_EQ(after->fact("lost-before"), 0) << "frames of a pause are not lost";
  EXPECT_EQ(after->offset, before->offset + 1);
  EXPECT_GT(after->pts, before->pts);
}

}  // namespace
}  // namespace orvik::gst::testing
