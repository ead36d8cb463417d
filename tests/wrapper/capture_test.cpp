// SPDX-License-Identifier: MIT
#include <optional>
#include <thread>

#include "wrapper/wrapper_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class CaptureTest : public WrapperBench {};

/// A stop that is requested after a while.
class StopAfter {
 public:
  explicit StopAfter(std::chrono::milliseconds delay)
      : thread_([this, delay] {
          std::this_thread::sleep_for(delay);
          source_.request_stop();
        }) {}
  [[nodiscard]] std::stop_token token() const { return source_.get_token(); }

 private:
  std::stop_source source_;
  std::jthread thread_;
};

TEST_F(CaptureTest, ASnapshotHasItsPixelsAndFacts) {
  plug("");
  Camera camera = Camera::open();
  camera.set(control::kExposure, 20ms);
  camera.setFormat(camera.wholeSensor(2, Orvik_IMG_RAW16));
  const auto before = std::chrono::system_clock::now();
  const Frame frame = snap(camera);
  EXPECT_EQ(frame.info().width, 652);
  EXPECT_EQ(frame.bytes().size(), 652U * 488 * 2);
  EXPECT_EQ(frame.words().size(), 652U * 488);
  EXPECT_EQ(frame.words()[7], frame.bytes()[14] + 256 * frame.bytes()[15]);
  EXPECT_EQ(frame.info().exposure(), 20ms);
  EXPECT_GT(frame.info().start(), before - 1s);
  EXPECT_LT(frame.info().start(), std::chrono::system_clock::now());
}

TEST_F(CaptureTest, AStopEndsALongExposureAtOnce) {
  plug("");
  Camera camera = Camera::open();
  camera.set(control::kExposure, 100s);
  const auto begun = Clock::now();
  const StopAfter stop(50ms);
  EXPECT_TRUE(snap(camera, stop.token()).isEmpty());
  EXPECT_LT(Clock::now() - begun, 20s);
  EXPECT_EQ(camera.exposureStatus(), Orvik_EXPSTATE_NONE);
  Snapshot again(camera);
  EXPECT_GT(again.left(), 50s);
  EXPECT_EQ(thrownBy([&] { Video video(camera); }), Orvik_ERROR_EXPOSING);
}

TEST_F(CaptureTest, ASnapshotKeepsItsFormatWhileAnotherIsSet) {
  plug("");
  Camera camera = Camera::open();
  camera.set(control::kExposure, 1ms);
  for (const auto& [taken, later] : {std::pair{1, 2}, std::pair{2, 1}}) {
    camera.setFormat(camera.wholeSensor(taken));
    Snapshot snapshot(camera);
    ASSERT_TRUE(snapshot.wait());
    camera.setFormat(camera.wholeSensor(later));
    Frame frame;
    snapshot.fetch(frame);
    EXPECT_EQ(frame.info().width, 1304 / taken);
    EXPECT_EQ(frame.bytes().size(), frame.info().bytes());
  }
}

TEST_F(CaptureTest, AVideoIsARangeThatEndsAtAStopOrATime) {
  plug("");
  Camera camera = Camera::open();
  camera.set(control::kExposure, 1ms);
  camera.setFormat({.width = 320, .height = 240});
  std::stop_source stop;
  std::int64_t next = -1;
  int count = 0;
  for (const Frame& frame : Video(camera, stop.get_token())) {
    EXPECT_GT(frame.info().number, next);
    next = frame.info().number;
    EXPECT_EQ(frame.bytes().size(), 320U * 240);
    if (++count == 10) stop.request_stop();
  }
  EXPECT_EQ(count, 10);

  camera.set(control::kExposure, 100s);
  const auto begun = Clock::now();
  Video video(camera);  // the former one has stopped
  video.stopAt(begun + 200ms);
  EXPECT_EQ(video.begin(), Video::end());
  EXPECT_GE(Clock::now() - begun, 200ms);
  EXPECT_LT(Clock::now() - begun, 20s);
}

TEST_F(CaptureTest, AVideoGoesOnThroughChangesOfTheFormat) {
  plug("");
  Camera camera = Camera::open();
  camera.set(control::kExposure, 1ms);
  camera.setFormat(camera.wholeSensor(2));
  Video video(camera);
  Frame frame;
  for (const int bin : {1, 2, 1, 4, 1}) {
    camera.setFormat(camera.wholeSensor(bin));
    do {
      ASSERT_TRUE(video.next(frame));
    } while (frame.info().bin != bin);
    EXPECT_EQ(frame.bytes().size(), frame.info().bytes());
  }
}

TEST_F(CaptureTest, AVideoCanBeWaitedForInStepsAndStopped) {
  plug("");
  Camera camera = Camera::open();
  camera.set(control::kExposure, 30s);
  std::optional<Video> former(std::in_place, camera);
  Frame frame;
  EXPECT_FALSE(former->next(frame, 20ms));
  EXPECT_GE(former->limit(), 70s);
  former->stop();
  EXPECT_THROW(former->next(frame, 20ms), Error);

  camera.set(control::kExposure, 1ms);
  Video video(camera);
  former.reset();  // it has stopped, and leaves its successor alone
  EXPECT_TRUE(video.next(frame, 10s));
}

TEST_F(CaptureTest, AnUnpluggedCameraEndsCaptureWithItsReason) {
  const int id = plug("serial=AAAA0001");
  Camera camera = Camera::open();
  camera.set(control::kExposure, 1ms);
  Video video(camera);
  Frame frame;
  ASSERT_TRUE(video.next(frame));
  OrvikSimUnplug(id);
  try {
    while (video.next(frame)) {
    }
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.orvikCode(), Orvik_ERROR_NO_FRAME);
    EXPECT_NE(std::string(error.what()).find("the camera was unplugged"), std::string::npos);
  }
  std::error_code error;
  EXPECT_TRUE(snap(camera, {}, error).isEmpty());
  EXPECT_TRUE(error);
}

}  // namespace
}  // namespace orvik::test
