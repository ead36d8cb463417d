// SPDX-License-Identifier: MIT
// Video: starts and stops, waiting, lost frames, rate.
#include <array>
#include <cstdint>
#include <future>
#include <thread>

#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/expect.h"
#include "tools/orvikctl/selftest/figures.h"

namespace orvik::ctl::selftest {
namespace {

constexpr std::int32_t kSlowUs = 2'000'000;

int droppedFrames(const Subject& subject) {
  int dropped = -1;
  expectOk(OrvikGetDroppedFrames(subject.index(), &dropped), "OrvikGetDroppedFrames");
  return dropped;
}

std::string startsAndStops(Subject& subject) {
  const int times = subject.conditions().quick ? 10 : 100;
  constexpr int kFrameEvery = 5;
  FrameBuffer frame(subject.format());
  const StopWatch watch;
  for (int time = 0; time < times; ++time) {
    subject.startVideo();
    if (time % kFrameEvery == 0) subject.readFrame(frame);
    subject.stopVideo();
  }
  return std::to_string(times) + " in " + figure(watch.milliseconds() / 1000, "s");
}

std::string twice(Subject& subject) {
  FrameBuffer frame(subject.format());
  subject.startVideo();
  expectOk(OrvikStartVideoCapture(subject.index()), "starting a video that runs");
  subject.readFrame(frame);
  subject.stopVideo();
  expectOk(OrvikStopVideoCapture(subject.index()), "stopping a video that does not run");
  frame.clear();
  expectCode(Orvik_ERROR_NO_FRAME,
             OrvikGetVideoData(subject.index(), frame.data(), frame.size(), 0),
             "OrvikGetVideoData without video");
  frame.expectUntouched("without video");
  return "";
}

std::string timesOut(Subject& subject) {
  if (!subject.conditions().keepsTime) throw CheckSkipped("the camera does not keep time");
  constexpr int kWaitMs = 60;
  FrameBuffer frame(subject.format());
  subject.setExposure(kSlowUs);
  subject.startVideo();
  const StopWatch watch;
  expectCode(Orvik_ERROR_NO_FRAME,
             OrvikGetVideoData(subject.index(), frame.data(), frame.size(), kWaitMs),
             "a wait far below the exposure");
  const double took = watch.milliseconds();
  expectWithin(kWaitMs - 1, kWaitMs + subject.conditions().timeoutMs / 4.0, took,
               "milliseconds of a wait of 60 ms");
  frame.expectUntouched("after a timeout");
  return "60 ms took " + figure(took, "ms");
}

std::string stopWakesReader(Subject& subject) {
  if (!subject.conditions().keepsTime) throw CheckSkipped("the camera does not keep time");
  FrameBuffer frame(subject.format());
  subject.setExposure(kSlowUs);
  subject.startVideo();
  auto reading = std::async(std::launch::async, [&] {
    return OrvikGetVideoData(subject.index(), frame.data(), frame.size(), -1);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const StopWatch watch;
  subject.stopVideo();
  expectCode(Orvik_ERROR_NO_FRAME, reading.get(), "a reader without limit, when video stops");
  const double took = watch.milliseconds();
  expectWithin(0, subject.conditions().timeoutMs, took, "milliseconds to stop and wake");
  return figure(took, "ms");
}

std::string countsLost(Subject& subject) {
  const StopWatch watch;
  subject.startVideo();
  while (droppedFrames(subject) == 0) {
    expectThat(watch.milliseconds() < subject.conditions().timeoutMs,
               "lost frames to be counted while nobody reads", "a count that stays at 0");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  const int lost = droppedFrames(subject);
  FrameBuffer frame(subject.format());
  subject.readFrame(frame);
  subject.stopVideo();
  expectEqual(0, droppedFrames(subject), "lost frames after the end of capture");
  return std::to_string(lost) + " lost in " + figure(watch.milliseconds(), "ms");
}

std::string rate(Subject& subject) {
  const int frames = subject.conditions().quick ? 10 : 50;
  const ImageFormat format = {.width = 320, .height = 240};
  subject.setExposure(0);
  subject.setFormat(format);
  FrameBuffer frame(format);
  subject.startVideo();
  subject.readFrame(frame);
  const StopWatch watch;
  for (int n = 0; n < frames; ++n) subject.readFrame(frame);
  const double seconds = watch.milliseconds() / 1000;
  const int lost = droppedFrames(subject);
  return figure(frames / seconds, "frames/s") + " of 320x240, " + std::to_string(lost) + " lost";
}

std::string keepsPace(Subject& subject) {
  if (!subject.conditions().keepsTime) throw CheckSkipped("the camera does not keep time");
  constexpr int kFrames = 4;
  const std::int32_t exposureUs = subject.setExposure(40000);
  FrameBuffer frame(subject.format());
  subject.startVideo();
  // What was sensed while video started may come at once.
  for (int n = 0; n < 3; ++n) subject.readFrame(frame);
  const StopWatch watch;
  for (int n = 0; n < kFrames; ++n) subject.readFrame(frame);
  const double least = 0.9 * (kFrames - 2) * exposureUs / 1000;
  expectThat(watch.milliseconds() >= least,
             std::to_string(kFrames) + " frames in " + figure(least, "ms") + " or more",
             figure(watch.milliseconds(), "ms"));
  return figure(watch.milliseconds() / kFrames, "ms") + " a frame at 40 ms";
}

constexpr std::array kChecks = {
    Check{"video.starts", "it starts and stops again and again", startsAndStops},
    Check{"video.twice", "starting and stopping twice does no harm", twice},
    Check{"video.time-out", "waiting for a frame ends when it should", timesOut},
    Check{"video.wakes", "stopping wakes a reader that waits without limit", stopWakesReader},
    Check{"video.lost", "frames that nobody fetched are counted, until capture ends", countsLost},
    Check{"video.rate", "it streams", rate},
    Check{"video.pace", "frames take their exposure", keepsPace},
};

}  // namespace

std::span<const Check> videoChecks() { return kChecks; }

}  // namespace orvik::ctl::selftest
