// SPDX-License-Identifier: MIT
#include "camera/capture/capture_worker.h"

#include <algorithm>
#include <utility>

#include "camera/camera_base.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr int kEmptyReadsBeforeRestart = 4;
constexpr auto kSensorWakeTime = 20ms;
constexpr auto kExposureSlice = 200ms;
constexpr auto kExposureInOneSleep = 1001ms;

std::uint8_t code(VendorRequest request) { return static_cast<std::uint8_t>(request); }

}  // namespace

CaptureWorker::CaptureWorker(CaptureParts parts)
    : parts_(std::move(parts)),
      link_(*parts_.link),
      state_(*parts_.state),
      protocol_(*parts_.protocol),
      control_(*parts_.control),
      snapshot_(state_.snapshot),
      frameBytes_(state_.frameBytes()),
      stream_(link_.device(), parts_.frames, frameBytes_, protocol_.transferBytes()),
      fallback_(control_.now()),
      automatic_({.pace = parts_.autoPace,
                  .state = parts_.state,
                  .gate = parts_.gate,
                  .control = parts_.control}) {}

void CaptureWorker::run() {
  start();
  while (control_.running() && step() == Next::kGoOn) {
  }
  finish();
}

void CaptureWorker::start() {
  longExposure_ = state_.longExposure;
  link_.send(code(VendorRequest::kStopStreaming));
  protocol_.halt(link_, longExposure_);
  parts_.queue->clear();
  link_.send(code(VendorRequest::kStartStreaming));
  protocol_.wake(link_);
  control_.sleepFor(kSensorWakeTime);
  protocol_.run(link_, longExposure_);
  stream_.restart();
  if (!snapshot_) automatic_.start();
}

CaptureWorker::Next CaptureWorker::step() {
  if (snapshot_ && snapshotHasFailed(badFrames_, state_.exposureUs)) {
    return endSnapshot(Orvik_EXPSTATE_FAILED);
  }
  followExposureMode();
  if (longExposure_) exposeLong();
  const BulkStream::Result result = stream_.readFrame(waitPerRead());
  if (!control_.running()) return Next::kLeave;

  switch (result) {
    case BulkStream::Result::kGone:
      return snapshot_ ? endSnapshot(Orvik_EXPSTATE_FAILED) : Next::kLeave;
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

// The exposure can cross the border to long exposures while capture runs; the camera then has to be
// told who times its frames.
void CaptureWorker::followExposureMode() {
  const bool wanted = state_.longExposure;
  if (wanted == longExposure_) return;
  longExposure_ = wanted;
  protocol_.run(link_, longExposure_);
}

void CaptureWorker::exposeLong() {
  const std::uint64_t exposureUs = state_.exposureUs;
  const auto exposure = std::chrono::microseconds(exposureUs);
  protocol_.beginExposure(link_);
  const auto end = control_.now() + exposure;
  for (;;) {
    const auto left = end - control_.now();
    if (left <= 0ns || state_.exposureUs != exposureUs || stream_.isGone()) break;
    const bool inOneSleep = exposure < kExposureInOneSleep;
    if (!control_.sleepFor(inOneSleep ? left
                                      : std::min<seam::Clock::Duration>(left, kExposureSlice)))
      break;
  }
  protocol_.endExposure(link_);
}

std::chrono::milliseconds CaptureWorker::waitPerRead() const {
  const double frameTime = frameTimeUs(state_.rowsDelivered(), state_.lineLength, state_.clockKhz);
  const std::size_t transferBytes = protocol_.transferBytes();
  const std::size_t readsPerFrame = (frameBytes_ + transferBytes - 1) / transferBytes;
  return std::chrono::milliseconds(
      transferWaitMs(state_.exposureUs, frameTime, protocol_.patience(readsPerFrame)));
}

std::span<std::uint8_t> CaptureWorker::currentFrame() const {
  return stream_.frame()->bytes().first(frameBytes_);
}

CaptureWorker::Next CaptureWorker::onEmpty(bool pipeFailed) {
  if (++emptyReads_ >= kEmptyReadsBeforeRestart) {
    restartCamera();
  } else if (pipeFailed) {
    stream_.restart();
  }
  return Next::kGoOn;
}

void CaptureWorker::restartCamera() {
  emptyReads_ = 0;
  stream_.stop();
  link_.resetBulkPipe();
  control_.sleepFor(100ms);
  protocol_.halt(link_, longExposure_);
  link_.send(code(VendorRequest::kStopStreaming));
  control_.sleepFor(10ms);
  link_.send(code(VendorRequest::kStartStreaming));
  protocol_.wake(link_);
  control_.sleepFor(kSensorWakeTime);
  protocol_.run(link_, longExposure_);
  stream_.restart();
}

void CaptureWorker::onBadFrame() {
  ++state_.droppedFrames;
  ++badFrames_;
  emptyReads_ = 0;
  if (fallback_.onBadFrame(control_.now(), state_.bandwidthAuto, badFrames_)) lowerBandwidth();
  stream_.restart();
}

void CaptureWorker::lowerBandwidth() {
  parts_.gate->tryUse([this](CCameraBase& camera) {
    camera.SetFPSPerc(state_.bandwidth - kBandwidthStep, state_.bandwidthAuto);
  });
}

CaptureWorker::Next CaptureWorker::onGoodFrame() {
  emptyReads_ = 0;
  protocol_.clearMarks(currentFrame());
  if (snapshot_) {
    state_.capturing = false;  // who has the image may start anew at once
  } else {
    automatic_.look(currentFrame());
  }
  const bool queued = parts_.queue->push(stream_.frame());
  if (snapshot_) return endSnapshot(Orvik_EXPSTATE_READY);
  if (!queued) ++state_.droppedFrames;
  stream_.advance();
  automatic_.act();
  return Next::kGoOn;
}

// Who sees the new status may start the next capture at once: by then this one is over.
CaptureWorker::Next CaptureWorker::endSnapshot(Orvik_EXPOSURE_STATUS status) {
  parts_.queue->close();
  state_.capturing = false;
  state_.exposureStatus = status;
  return Next::kLeave;
}

void CaptureWorker::finish() {
  // Whoever waits for a frame learns at once that none will come, however slowly the camera stops.
  // And whoever learns it may start anew at once.
  state_.capturing = false;
  if (!snapshot_) parts_.queue->clear();
  parts_.queue->close();
  state_.droppedFrames = 0;
  automatic_.end();
  protocol_.finish(link_, longExposure_);
  link_.sendSafe(SafeRequest::kStopStreaming);
  stream_.stop();
  link_.resetBulkPipe();
}

}  // namespace orvik
