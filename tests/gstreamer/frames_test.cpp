// SPDX-License-Identifier: MIT
// Pixels, time stamps, facts and losses of the buffers.
#include <algorithm>
#include <cmath>
#include <mutex>
#include <set>

#include "gstreamer/rig.h"

namespace orvik::gst::testing {
namespace {

using FramesTest = GstTest;
constexpr const char* kSmall = "video/x-bayer,width=640,height=480";

TEST_F(FramesTest, PixelsAreThoseOfTheLibrary) {
  const std::string same = "scene=moon,serial=0012ABCD,link=unlimited,latency=0";
  const int first = plug("T15C", same);
  std::unique_ptr<Picture> picture;
  {
    Rig rig("exposure-time=20000 gain=100 bandwidth=80",
            "video/x-raw,format=BGR,width=644,height=480");
    rig.play();
    picture = rig.pull();
  }
  ASSERT_TRUE(picture);
  OrvikSimUnplug(first);

  plug("T15C", same);
  Camera camera = Camera::open();
  camera.set(control::kExposure, std::chrono::milliseconds(20));
  camera.set(control::kGain, 100);
  camera.set(control::kBandwidth, 80);
  camera.setFormat({.width = 644, .height = 480, .type = Orvik_IMG_RGB24});
  camera.setStart(static_cast<int>(picture->fact("start-x")), 248);
  Video video(camera);
  Frame frame;
  while (video.next(frame) && frame.info().number < picture->offset) {
  }
  ASSERT_EQ(frame.info().number, picture->offset);
  EXPECT_TRUE(std::ranges::equal(frame.bytes(), picture->bytes));
  EXPECT_GT(*std::ranges::max_element(frame.bytes()), 100) << "the Moon is seen";
}

TEST_F(FramesTest, TimeStampsAreTheStartsOfTheExposures) {
  plug("T15C", "scene=dark");
  Rig rig("exposure-time=20000 gain=7", kSmall);
  rig.play();
  const auto base = static_cast<std::int64_t>(gst_element_get_base_time(rig.source()));
  std::int64_t last = -1;
  for (int n = 0; n < 10; ++n) {
    const auto picture = rig.pull();
    ASSERT_TRUE(picture);
    EXPECT_GT(picture->pts, last);
    last = picture->pts;
    // The pipeline's clock is that of the library.
    EXPECT_NEAR(double(picture->pts + base), double(picture->fact("exposure-start")), 1e5);
    EXPECT_NEAR(double(picture->duration), 20e6, 3e6);
    EXPECT_EQ(picture->fact("exposure-time"), 20000);
    EXPECT_EQ(picture->fact("gain"), 7);
    const GstReferenceTimestampMeta* const utc =
        gst_buffer_get_reference_timestamp_meta(picture->buffer(), nullptr);
    ASSERT_NE(utc, nullptr);
    EXPECT_EQ(static_cast<std::int64_t>(utc->timestamp),
              picture->fact("exposure-start") + picture->fact("utc-offset"));
    EXPECT_EQ(utc->duration, 20 * GST_MSECOND);
  }
}

TEST_F(FramesTest, TimeStampsFollowAClockOtherThanTheLibrarys) {
  plug("T15C", "scene=dark");
  Rig rig("exposure-time=5000", kSmall);
  auto* const clock = static_cast<GstClock*>(
      g_object_new(GST_TYPE_SYSTEM_CLOCK, "clock-type", GST_CLOCK_TYPE_REALTIME, nullptr));
  // Two minutes fast, and faster by a tenth.
  const GstClockTime now = gst_clock_get_internal_time(clock);
  gst_clock_set_calibration(clock, now, now + 120 * GST_SECOND, 11, 10);
  gst_element_set_clock(rig.bin(), clock);
  gst_element_set_base_time(rig.bin(), gst_clock_get_time(clock));
  rig.setState(GST_STATE_PLAYING);
  std::vector<std::int64_t> steps;
  std::int64_t lastPts = 0;
  std::int64_t lastStart = 0;
  for (int n = 0; n < 21; ++n) {
    const auto picture = rig.pull();
    ASSERT_TRUE(picture);
    EXPECT_LT(picture->pts, 60'000'000'000) << "from the base time, not from 1970";
    steps.push_back((picture->pts - lastPts) * 1000 /
                    (picture->fact("exposure-start") - lastStart));
    lastPts = picture->pts;
    lastStart = picture->fact("exposure-start");
  }
  std::nth_element(steps.begin(), steps.begin() + 10, steps.end());
  EXPECT_NEAR(double(steps[10]), 1100, 10) << "median of the clock's speed, per mille";
  gst_object_unref(clock);
}

TEST_F(FramesTest, LostFramesAreGapsThatAreReported) {
  plug("T15C", "scene=dark,fault=bulk short every 5");
  Rig rig("exposure-time=1000 bandwidth=80 bandwidth-auto=false", kSmall);
  rig.play();
  std::int64_t expected = 0;
  std::int64_t lost = 0;
  for (int n = 0; n < 20; ++n) {
    const auto picture = rig.pull();
    ASSERT_TRUE(picture);
    const std::int64_t gap = picture->offset - expected;
    EXPECT_EQ(picture->fact("lost-before"), gap);
    EXPECT_EQ(picture->isDiscontinuous, n == 0 || gap > 0);
    expected = picture->offset + 1;
    lost += gap;
  }
  EXPECT_GE(lost, 4);
  gint64 counted = 0;
  g_object_get(rig.source(), "frames-lost", &counted, nullptr);
  EXPECT_GE(counted, lost);
  const Message message = rig.message(GST_MESSAGE_QOS);
  ASSERT_TRUE(message);
  guint64 dropped = 0;
  gst_message_parse_qos_stats(message.get(), nullptr, nullptr, &dropped);
  EXPECT_GE(dropped, 1U);
}

struct Memories {
  std::mutex mutex;
  std::set<const void*> seen;
  int buffers = 0;
  int pooled = 0;
};

GstPadProbeReturn remember(GstPad* /*pad*/, GstPadProbeInfo* probe, gpointer data) {
  auto& memories = *static_cast<Memories*>(data);
  const std::lock_guard guard(memories.mutex);
  const auto* const buffer = gst_pad_probe_info_get_buffer(probe);
  memories.seen.insert(buffer);
  if (buffer->pool != nullptr) ++memories.pooled;
  ++memories.buffers;
  return GST_PAD_PROBE_OK;
}

TEST_F(FramesTest, BuffersAreUsedAgain) {
  plug("T15C", "pace=free,scene=grey");
  Memories memories;
  Rig rig("num-buffers=200", kSmall);
  gst_harness_set_drop_buffers(rig.harness(), TRUE);
  GstPad* const pad = gst_element_get_static_pad(rig.source(), "src");
  gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, remember, &memories, nullptr);
  gst_object_unref(pad);
  rig.play();
  const auto isOver = [&] {
    const std::lock_guard guard(memories.mutex);
    return memories.buffers == 200;
  };
  for (int n = 0; n < 1000 && !isOver(); ++n) g_usleep(10'000);
  rig.setState(GST_STATE_NULL);
  EXPECT_EQ(memories.buffers, 200);
  EXPECT_EQ(memories.pooled, 200);
  EXPECT_LE(memories.seen.size(), 3U);
}

TEST_F(FramesTest, MetaSurvivesConverters) {
  plug("T15C", "scene=grey");
  Rig rig("", "video/x-raw,format=I420,width=640,height=480", " ! bayer2rgb ! videoconvert");
  rig.play();
  const auto picture = rig.pull();
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->format, "I420");
  EXPECT_EQ(picture->fact("frame-number"), picture->offset);
  EXPECT_GT(picture->fact("exposure-time"), 0);
}

}  // namespace
}  // namespace orvik::gst::testing
