// SPDX-License-Identifier: MIT
#include "capture/capture_worker.h"

#include <algorithm>
#include <utility>

#include "controls/image_regulator.h"
#include "state/frame_time.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr int kEmptyReadsBeforeRestart = 4;
/// After this many bad frames in a row the stream is out of step: the reads no longer begin where
/// the frames of the camera do, and only a restart of the camera aligns them again.
constexpr int kBadFramesBeforeRestart = 4;
constexpr auto kSensorWakeTime = 20ms;
/// Bus and scheduler can delay the detection of a complete frame by this time. Settings must be
/// older by this much before a frame counts as exposed with them.
constexpr auto kLateness = 20ms;
constexpr auto kExposureSlice = 200ms;
constexpr auto kExposureInOneSleep = 1001ms;

}  // namespace

CaptureWorker::CaptureWorker(CaptureParts parts)
    : parts_(std::move(parts)),
      link_(*parts_.link),
      state_(*parts_.state),
      protocol_(*parts_.protocol),
      stop_(*parts_.stop),
      format_(parts_.capture->format()),
      stream_(link_.device(), *parts_.clock, parts_.frames, format_.frameBytes(),
              protocol_.transferBytes()),
      fallback_(stop_.now()),
      automatic_({.pace = parts_.autoPace,
                  .state = parts_.state,
                  .settings = parts_.settings,
                  .stop = parts_.stop}) {}

void CaptureWorker::run() {
  start();
  while (stop_.running() && step() == Next::kGoOn) {
  }
  finish();
}

void CaptureWorker::start() {
  longExposure_ = state_.longExposure;
  // The bridge first: a crashed program may have left it streaming.
  link_.send(VendorRequest::kStopStreaming);
  protocol_.halt(link_, longExposure_);
  link_.send(VendorRequest::kStartStreaming);
  protocol_.wake(link_);
  stop_.sleepFor(kSensorWakeTime);
  runSensor();
  if (!isSnapshot()) automatic_.start();
}

CaptureWorker::Next CaptureWorker::step() {
  if (isSnapshot() && snapshotHasFailed(badFrames_, state_.exposureUs)) {
    return end(Orvik_EXPSTATE_FAILED, NoFrame::kFailed);
  }
  followExposureMode();
  if (longExposure_) exposeLong();
  // stop() aborts the reads that are in flight. A restart above may have begun new ones since.
  if (!stop_.running()) return Next::kLeave;
  const BulkStream::Result result = stream_.readFrame(readTimeout());
  if (!stop_.running()) return Next::kLeave;

  switch (result) {
    case BulkStream::Result::kGone:
      link_.noteGone();  // before callers that wait for a frame are woken
      return end(Orvik_EXPSTATE_FAILED, NoFrame::kUnplugged);
    case BulkStream::Result::kEmpty:
      return onEmpty(false);
    case BulkStream::Result::kFailed:
      return onEmpty(true);
    case BulkStream::Result::kComplete:
      if (protocol_.hasMarks(currentFrame())) return onGoodFrame();
      break;
    case BulkStream::Result::kIncomplete:
      break;
  }
  onBadFrame();
  return Next::kGoOn;
}

// The exposure can cross the threshold of long exposures while capture runs; the camera must then
// be switched between timing frames itself and timing by the host. A frame that was exposed in the
// former mode and has not been sent yet must not be taken for one of the new mode, so the camera is
// restarted.
void CaptureWorker::followExposureMode() {
  const bool wanted = state_.longExposure;
  if (wanted == longExposure_) return;
  longExposure_ = wanted;
  restartCamera();
}

// Data that arrives before the exposure ends belongs to an earlier frame, for example one that
// missed its timeout. If it were taken for the frame of this exposure, every later frame would be
// one exposure late.
void CaptureWorker::discardStaleData() {
  if (stream_.hasArrived()) stream_.restart();
}

void CaptureWorker::exposeLong() {
  discardStaleData();
  protocol_.beginExposure(link_);
  exposureBegun_ = stop_.now();
  const bool goesOn = sleepThroughExposure(state_.exposureUs);
  if (goesOn) discardStaleData();
  protocol_.endExposure(link_);
  exposureEnded_ = stop_.now();
}

/// @return false when the capture ends.
bool CaptureWorker::sleepThroughExposure(std::uint64_t exposureUs) {
  const auto exposure = std::chrono::microseconds(exposureUs);
  const Time end = exposureBegun_ + exposure;
  for (;;) {
    const Time left = end - stop_.now();
    if (left <= 0ns || state_.exposureUs != exposureUs || stream_.isGone()) return true;
    const bool inOneSleep = exposure < kExposureInOneSleep;
    if (!stop_.sleepFor(inOneSleep ? left : std::min<Time>(left, kExposureSlice))) return false;
  }
}

std::chrono::milliseconds CaptureWorker::readTimeout() const {
  const double frameTime = frameTimeUs(format_.rows(), state_.lineLength, state_.clockKhz);
  const std::size_t transferBytes = protocol_.transferBytes();
  const std::size_t readsPerFrame = (format_.frameBytes() + transferBytes - 1) / transferBytes;
  return std::chrono::milliseconds(
      readTimeoutMs(state_.exposureUs, frameTime, protocol_.timeoutLaw(readsPerFrame)));
}

std::span<std::uint8_t> CaptureWorker::currentFrame() const {
  return stream_.frame()->bytes().first(format_.frameBytes());
}

CaptureWorker::Next CaptureWorker::onEmpty(bool pipeFailed) {
  badFramesInARow_ = 0;
  if (++emptyReads_ >= kEmptyReadsBeforeRestart) {
    restartCamera();
  } else if (pipeFailed) {
    stream_.restart();
  }
  return Next::kGoOn;
}

void CaptureWorker::runSensor() {
  runningSince_ = stop_.now();
  protocol_.run(link_, longExposure_);
  stream_.restart();
}

void CaptureWorker::restartCamera() {
  emptyReads_ = 0;
  badFramesInARow_ = 0;
  stream_.stop();
  link_.resetBulkPipe();
  stop_.sleepFor(100ms);
  // The sensor first, unlike at the start: no new frame may enter the bridge while it is emptied.
  protocol_.halt(link_, longExposure_);
  link_.send(VendorRequest::kStopStreaming);
  stop_.sleepFor(10ms);
  stream_.drain();
  link_.send(VendorRequest::kStartStreaming);
  protocol_.wake(link_);
  stop_.sleepFor(kSensorWakeTime);
  runSensor();
}

void CaptureWorker::onBadFrame() {
  parts_.capture->countLostFrame();
  ++lostSincePush_;
  ++frameNumber_;
  ++badFrames_;
  emptyReads_ = 0;
  const bool automatic = state_.bandwidthAuto;
  if (fallback_.onBadFrame(stop_.now(), automatic, state_.bandwidthAutoSince, badFrames_)) {
    lowerBandwidth();
  }
  if (++badFramesInARow_ >= kBadFramesBeforeRestart) {
    restartCamera();
  } else {
    stream_.restart();
  }
}

void CaptureWorker::lowerBandwidth() {
  parts_.settings->tryUse([this](ImageRegulator& regulator) {
    regulator.settings().setBandwidth(state_.bandwidth - kBandwidthStep, state_.bandwidthAuto);
  });
}

CaptureWorker::Next CaptureWorker::onGoodFrame() {
  emptyReads_ = 0;
  badFramesInARow_ = 0;
  protocol_.clearMarks(currentFrame());
  const FrameFacts facts = describeFrame();
  ++frameNumber_;
  if (!isSnapshot()) automatic_.look(currentFrame(), format_, facts);
  const bool queued = parts_.queue->push(stream_.frame(), format_, facts);
  if (isSnapshot()) return end(Orvik_EXPSTATE_READY, NoFrame::kStopped);
  if (queued) {
    lostSincePush_ = 0;
  } else {
    parts_.capture->countLostFrame();
    ++lostSincePush_;
  }
  stream_.advance();
  automatic_.act();
  return Next::kGoOn;
}

FrameFacts CaptureWorker::describeFrame() const {
  const BulkStream::Arrival arrival = stream_.arrival();
  const auto lineTime =
      Time(static_cast<std::int64_t>(lineTimeUs(state_.lineLength, state_.clockKhz) * 1000));
  const Time readOut = lineTime * format_.rows();
  FrameFacts facts;
  facts.capture = parts_.capture->number();
  facts.number = frameNumber_;
  facts.lostBefore = lostSincePush_;
  facts.snapshot = isSnapshot();
  facts.lastByte = arrival.time;
  facts.firstByte = arrival.time - readOut;
  facts.uncertainty = arrival.uncertainty + lineTime;
  facts.utcOffset = std::chrono::system_clock::now().time_since_epoch() - parts_.clock->now();
  SettingsHistory::Exposed exposed;
  if (longExposure_) {
    facts.exposureStart = exposureBegun_;
    facts.exposureEnd = exposureEnded_;
    facts.firstByte = std::max(facts.firstByte, exposureEnded_);
    exposed = state_.settingsHistory.exposedFrom(exposureBegun_);
    const auto exposedFor =
        std::chrono::duration_cast<std::chrono::microseconds>(exposureEnded_ - exposureBegun_);
    const auto exposedUs = static_cast<std::uint64_t>(exposedFor.count());
    exposed.settings.exposureUs = std::min(exposed.settings.exposureUs, exposedUs);
  } else {
    const Time frameTime = lineTime * (format_.rows() + kBlankRows);
    exposed =
        state_.settingsHistory.exposedUntil(facts.firstByte, runningSince_, frameTime + kLateness);
    facts.exposureEnd = facts.firstByte;
    facts.exposureStart = facts.firstByte - std::chrono::microseconds(exposed.settings.exposureUs);
  }
  facts.settings = exposed.settings;
  facts.isSettled = exposed.isSettled;
  if (state_.temperatureIsRecent(parts_.clock->now())) facts.temperature = state_.temperature;
  return facts;
}

CaptureWorker::Next CaptureWorker::end(Orvik_EXPOSURE_STATUS status, NoFrame why) {
  parts_.capture->end(status);
  parts_.queue->end(parts_.capture->number(), why);
  return Next::kLeave;
}

void CaptureWorker::finish() {
  // Tell waiting callers at once that no frame will arrive: stopping the camera may take long.
  if (parts_.capture->isRunning()) end(Orvik_EXPSTATE_NONE, NoFrame::kStopped);
  automatic_.end();
  protocol_.finish(link_, longExposure_);
  link_.sendSafe(SafeRequest::kStopStreaming);
  stream_.stop();
  link_.resetBulkPipe();
}

}  // namespace orvik
