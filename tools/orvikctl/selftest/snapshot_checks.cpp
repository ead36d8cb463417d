// SPDX-License-Identifier: MIT
// Snapshots: one exposure, its status, its end before its time.
#include <array>
#include <cstdint>

#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/expect.h"
#include "tools/orvikctl/selftest/figures.h"

namespace orvik::ctl::selftest {
namespace {

constexpr std::int32_t kEndlessUs = 60'000'000;

void startExposure(const Subject& subject) {
  expectOk(OrvikStartExposure(subject.index()), "OrvikStartExposure");
}

void fetch(const Subject& subject, FrameBuffer& frame) {
  frame.clear();
  expectOk(OrvikGetDataAfterExp(subject.index(), frame.data(), frame.size()),
           "OrvikGetDataAfterExp");
  frame.expectWritten();
}

/// Takes a snapshot. @return how long it was exposing, milliseconds
double snap(const Subject& subject, std::int32_t exposureUs) {
  FrameBuffer frame(subject.format());
  startExposure(subject);
  const StopWatch watch;
  const Orvik_EXPOSURE_STATUS status = subject.waitForExposure(exposureUs);
  const double took = watch.milliseconds();
  expectEqual(Orvik_EXPSTATE_READY, status, "status at the end of a snapshot");
  fetch(subject, frame);
  return took;
}

std::string snaps(Subject& subject) {
  const int times = subject.conditions().quick ? 3 : 20;
  expectEqual(Orvik_EXPSTATE_NONE, subject.exposureStatus(), "status before any snapshot");
  const std::int32_t exposureUs = subject.setExposure(5000);
  double sum = 0;
  for (int time = 0; time < times; ++time) sum += snap(subject, exposureUs);
  return std::to_string(times) + ", " + figure(sum / times, "ms") + " each";
}

std::string takesItsTime(Subject& subject, std::int64_t wantedUs) {
  if (!subject.conditions().keepsTime) throw CheckSkipped("the camera does not keep time");
  const std::int32_t exposureUs = subject.setExposure(wantedUs);
  const double took = snap(subject, exposureUs);
  const double wanted = exposureUs / 1000.0;
  expectThat(took >= 0.95 * wanted, "an exposure of " + figure(wanted, "ms"), figure(took, "ms"));
  return figure(wanted, "ms") + " took " + figure(took, "ms");
}

std::string ofAFraction(Subject& subject) { return takesItsTime(subject, 200'000); }

std::string ofAboveASecond(Subject& subject) {
  // Cameras time exposures of this length in another way than shorter ones.
  if (subject.conditions().quick) throw CheckSkipped("left out of a quick run");
  return takesItsTime(subject, 1'200'000);
}

std::string aborts(Subject& subject) {
  subject.setExposure(kEndlessUs);
  startExposure(subject);
  expectEqual(Orvik_EXPSTATE_EXPOSING, subject.exposureStatus(), "status during an exposure");
  const StopWatch watch;
  expectOk(OrvikStopExposure(subject.index()), "OrvikStopExposure");
  const double took = watch.milliseconds();
  expectWithin(0, subject.conditions().timeoutMs / 2.0, took, "milliseconds to abort");
  expectEqual(Orvik_EXPSTATE_NONE, subject.exposureStatus(), "status after an abort");
  const std::int32_t exposureUs = subject.setExposure(5000);
  snap(subject, exposureUs);
  return figure(took, "ms");
}

std::string exclusive(Subject& subject) {
  subject.setExposure(kEndlessUs);
  startExposure(subject);
  expectCode(Orvik_ERROR_EXPOSING, OrvikStartVideoCapture(subject.index()),
             "starting video during a snapshot");
  expectCode(Orvik_ERROR_VIDEO_RUNNING, OrvikStartExposure(subject.index()),
             "starting a snapshot during another");
  expectEqual(Orvik_EXPSTATE_EXPOSING, subject.exposureStatus(), "status of the first snapshot");
  expectOk(OrvikStopExposure(subject.index()), "OrvikStopExposure");
  subject.setExposure(2000);
  FrameBuffer frame(subject.format());
  subject.startVideo();
  expectCode(Orvik_ERROR_VIDEO_RUNNING, OrvikStartExposure(subject.index()),
             "starting a snapshot during video");
  subject.readFrame(frame);
  return "";
}

std::string withoutImage(Subject& subject) {
  FrameBuffer frame(subject.format());
  expectOk(OrvikGetDataAfterExp(subject.index(), frame.data(), frame.size()),
           "OrvikGetDataAfterExp without a snapshot");
  frame.expectUntouched("without a snapshot");
  return "";
}

constexpr std::array kChecks = {
    Check{"snapshot.takes", "snapshots become ready, and can be fetched", snaps},
    Check{"snapshot.exposure", "a snapshot takes its exposure", ofAFraction},
    Check{"snapshot.long", "a snapshot above a second takes its exposure", ofAboveASecond},
    Check{"snapshot.abort", "a long exposure can be aborted, and another taken", aborts},
    Check{"snapshot.exclusive", "video and snapshots keep each other out", exclusive},
    Check{"snapshot.none", "without a snapshot there is no image", withoutImage},
};

}  // namespace

std::span<const Check> snapshotChecks() { return kChecks; }

}  // namespace orvik::ctl::selftest
