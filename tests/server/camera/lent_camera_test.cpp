// SPDX-License-Identifier: MIT
#include <atomic>
#include <mutex>
#include <vector>

#include "server/camera/camera_bench.h"

namespace orvik::server::test {
namespace {

using namespace std::chrono_literals;

/// Keeps the latest frame, and counts them.
class Viewer final : public FrameListener {
 public:
  void frame(const SharedFrame& frame) override {
    const std::scoped_lock lock(mutex_);
    latest_ = frame;
    ++count_;
  }
  SharedFrame latest() {
    const std::scoped_lock lock(mutex_);
    return latest_;
  }
  int count() {
    const std::scoped_lock lock(mutex_);
    return count_;
  }

 private:
  std::mutex mutex_;
  SharedFrame latest_;
  int count_ = 0;
};

std::int32_t shown(ServedCamera& camera, Orvik_CONTROL_TYPE type) {
  const auto status = camera.status();
  for (const ControlState& state : status->controls) {
    if (state.type == type) return state.now.value;
  }
  return -1;
}

class LentCameraTest : public CameraBench {};

TEST_F(LentCameraTest, IsOpenAsLongAsSomebodyUsesIt) {
  plug("T15C", "");
  const auto one = camera();
  EXPECT_EQ(one->status()->link, Link::kClosed);
  EXPECT_EQ(one->description(), nullptr);
  // Two at once: it is opened once, and both are told.
  Awaited first;
  Awaited second;
  one->open(User::kPage, first.done());
  one->open(User::kAlpaca, second.done());
  EXPECT_EQ(first.problem(), "");
  EXPECT_EQ(second.problem(), "");
  EXPECT_NE(one->description(), nullptr);
  EXPECT_EQ(told([&](Done done) { one->close(User::kPage, done); }), "");
  EXPECT_TRUE(one->isOpenFor(User::kAlpaca));
  EXPECT_FALSE(one->isOpenFor(User::kPage));
  EXPECT_EQ(told([&](Done done) { one->close(User::kAlpaca, done); }), "");
  EXPECT_EQ(one->status()->link, Link::kClosed);
  EXPECT_NE(told([&](Done done) { one->control([](Camera&) {}, done); }), "");
}

TEST_F(LentCameraTest, ACameraThatCannotBeOpenedTellsWhyAndCanBeTriedAgain) {
  plug("T15C", "fault=open refuse at 1");
  const auto one = camera();
  EXPECT_NE(told([&](Done done) { one->open(User::kPage, done); }), "");
  EXPECT_EQ(one->status()->link, Link::kClosed);
  EXPECT_NE(one->status()->problem, "");
  opened();
  EXPECT_EQ(one->status()->problem, "");
}

TEST_F(LentCameraTest, TheLiveViewPausesForACaptureAndKeepsItsSettings) {
  plug("T15C", "");
  const auto one = opened();
  const auto viewer = std::make_shared<Viewer>();
  one->listen(viewer);
  EXPECT_EQ(told([&](Done done) { one->setControl(Orvik_CTL_EXPOSURE, {5000, false}, done); }), "");
  EXPECT_EQ(told([&](Done done) {
              one->setFormat({100, 50, 322, 241}, 1, Orvik_IMG_RAW8, done);
            }),
            "");
  one->wantLive(true);
  ASSERT_TRUE(eventually([&] { return viewer->count() > 3; }));
  EXPECT_EQ(viewer->latest()->info().width, 320);
  EXPECT_EQ(viewer->latest()->info().height, 240);
  EXPECT_EQ(one->status()->activity, Activity::kLive);
  ASSERT_TRUE(eventually([&] { return one->status()->frameRate > 1; }));

  std::atomic<bool> mayEnd = false;
  Awaited capture;
  ASSERT_TRUE(one->tryCapture({"an exposure", true,
                               [&](CaptureContext& context) {
                                 context.camera().set(control::kExposure, 1ms);
                                 context.camera().setFormat({.width = 64, .height = 64});
                                 const Frame frame = snap(context.camera(), context.stop());
                                 if (frame.info().width != 64) throw std::logic_error("not mine");
                                 while (!mayEnd) std::this_thread::sleep_for(1ms);
                               },
                               capture.done()}));
  EXPECT_EQ(one->status()->activity, Activity::kCapture);
  EXPECT_EQ(one->status()->capture, "an exposure");
  EXPECT_FALSE(one->tryCapture({"another", true, [](CaptureContext&) {}, {}}));
  // What the page sets meanwhile is shown, and does not disturb the capture.
  EXPECT_EQ(told([&](Done done) { one->setControl(Orvik_CTL_GAIN, {123, false}, done); }), "");
  EXPECT_EQ(shown(*one, Orvik_CTL_GAIN), 123);
  mayEnd = true;
  EXPECT_EQ(capture.problem(), "");

  const int before = viewer->count();
  ASSERT_TRUE(eventually([&] { return viewer->count() > before + 2; }));
  EXPECT_EQ(viewer->latest()->info().width, 320);
  EXPECT_EQ(viewer->latest()->info().startX, 100);
  EXPECT_EQ(viewer->latest()->info().exposureUs, 5000);
  ASSERT_TRUE(eventually([&] { return viewer->latest()->info().gain == 123; }));

  one->wantLive(false);
  ASSERT_TRUE(eventually([&] { return one->status()->activity == Activity::kNone; }));
}

TEST_F(LentCameraTest, OfManyCapturesAtOnceOneWins) {
  plug("T15C", "");
  const auto one = opened();
  std::atomic<int> begun = 0;
  std::atomic<int> told = 0;
  {
    std::vector<std::jthread> callers;
    for (int caller = 0; caller < 8; ++caller) {
      callers.emplace_back([&] {
        const bool isMine = one->tryCapture(
            {"mine", true, [](CaptureContext& context) { sleepFor(100s, context.stop()); },
             [&](const Outcome&) { ++told; }});
        if (isMine) ++begun;
      });
    }
  }
  EXPECT_EQ(begun, 1);
  one->stopCapture();
  EXPECT_TRUE(eventually([&] { return told == 1; }));
  EXPECT_EQ(one->status()->activity, Activity::kNone);
}

TEST_F(LentCameraTest, AnUnpluggedCameraEndsTheCaptureAndIsFoundAgain) {
  plug("T15C", "fault=bulk replug at 20");
  const auto one = opened();
  Awaited capture;
  ASSERT_TRUE(one->tryCapture({"a video", false,
                               [](CaptureContext& context) {
                                 Video video(context.camera(), context.stop());
                                 for (Frame frame; video.next(frame);) {
                                 }
                               },
                               capture.done()}));
  const Outcome outcome = capture.outcome();
  ASSERT_TRUE(outcome.has_value());
  EXPECT_EQ(outcome->kind, Failure::Kind::kNotOpen) << outcome->message;
  ASSERT_TRUE(eventually([&] { return one->status()->link == Link::kClosed; }));
  EXPECT_FALSE(one->isOpenFor(User::kPage));
  opened();
}

TEST_F(LentCameraTest, ValuesThatAreNotOfferedAreRefused) {
  plug("T15C", "");
  const auto one = opened();
  const auto before = one->status();
  for (const auto& [type, value, isAuto] : {std::tuple{Orvik_CTL_GAIN, 100000, false},
                                            {Orvik_CTL_GAIN, -1, false},
                                            {Orvik_CTL_FLIP, 1, true},
                                            {Orvik_CTL_TEMPERATURE, 1, false},
                                            {Orvik_CTL_COOLER_ON, 1, false}}) {
    EXPECT_NE(told([&](Done done) { one->setControl(type, {value, isAuto}, done); }), "") << type;
  }
  for (const auto& [region, bin, type] :
       {std::tuple{imaging::Region{0, 0, 3, 3}, 1, Orvik_IMG_RAW8},
        {imaging::Region{0, 0, 640, 480}, 7, Orvik_IMG_RAW8},
        {imaging::Region{0, 0, 640, 480}, 1, Orvik_IMG_END}}) {
    EXPECT_NE(told([&](Done done) { one->setFormat(region, bin, type, done); }), "") << bin;
  }
  EXPECT_EQ(one->status()->format, before->format);
  EXPECT_EQ(shown(*one, Orvik_CTL_GAIN), before->controls.front().now.value);
}

TEST_F(LentCameraTest, AGuideLineGoesOffByItselfAndWhenItIsReleased) {
  plug("T15C", "");
  const auto one = opened();
  const auto isOn = [&](std::size_t line) { return one->status()->guideLines.at(line); };
  one->holdLine(Orvik_GUIDE_DIR_1);
  EXPECT_TRUE(isOn(1));
  ASSERT_TRUE(eventually([&] { return !isOn(1); }));  // nobody held it any longer

  one->holdLine(Orvik_GUIDE_DIR_1);
  one->holdLine(Orvik_GUIDE_DIR_1);
  one->releaseLine(Orvik_GUIDE_DIR_1);
  ASSERT_TRUE(eventually([&] { return !isOn(1); }));

  Awaited pulse;
  Awaited replaced;
  one->pulse(Orvik_GUIDE_DIR_3, 60s, replaced.done());
  one->pulse(Orvik_GUIDE_DIR_3, 1ms, pulse.done());
  EXPECT_EQ(replaced.problem(), "");
  EXPECT_EQ(pulse.problem(), "");
  EXPECT_TRUE(eventually([&] { return !isOn(3); }));
}

TEST_F(LentCameraTest, ChangesAndEventsAreToldToAll) {
  plug("T15C", "");
  const auto one = opened();
  std::atomic<int> changes = 0;
  auto subscription = one->onChange([&] { ++changes; });
  for (int n = 0; n < 40; ++n) one->note("me", "event " + std::to_string(n));
  EXPECT_GE(changes, 40);
  const auto status = one->status();
  EXPECT_EQ(status->events.size(), 30U);
  EXPECT_EQ(status->events.back().text, "event 39");
  subscription.reset();
  const int before = changes;
  one->note("me", "nobody listens");
  EXPECT_EQ(changes, before);
}

}  // namespace
}  // namespace orvik::server::test
