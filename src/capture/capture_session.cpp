// SPDX-License-Identifier: MIT
#include "capture/capture_session.h"

#include <exception>
#include <utility>

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr auto kStopTimeout = 5000ms;

void runWorker(CaptureParts& parts, FramePool& pool) {
  try {
    CaptureWorker(parts).run();
  } catch (const std::exception&) {  // out of memory: end the capture, not the program
    parts.capture->end(Orvik_EXPSTATE_FAILED);
    parts.queue->end(parts.capture->number(), NoFrame::kFailed);
  }
  pool.close();
  parts.frames.reset();
}

}  // namespace

std::shared_ptr<const Capture> CaptureSession::current() const {
  const std::lock_guard lock(mutex_);
  return current_;
}

bool CaptureSession::isRunning() const {
  const auto capture = current();
  return capture && capture->isRunning();
}

Orvik_EXPOSURE_STATUS CaptureSession::status() const {
  const auto capture = current();
  return capture ? capture->status() : Orvik_EXPSTATE_NONE;
}

bool CaptureSession::lastWasSnapshot() const {
  const std::lock_guard lock(mutex_);
  return lastWasSnapshot_;
}

void CaptureSession::setCurrent(std::shared_ptr<Capture> capture) {
  const std::lock_guard lock(mutex_);
  current_ = std::move(capture);
}

std::shared_ptr<Capture> CaptureSession::newCapture(bool snapshot, const FrameFormat& format) {
  const std::lock_guard lock(mutex_);
  lastWasSnapshot_ = snapshot;
  return std::make_shared<Capture>(++lastNumber_, snapshot, format);
}

bool CaptureSession::isLingering() { return !stop_ && !thread_.join(0ms); }

bool CaptureSession::waitForPrevious() { return thread_.join(kStopTimeout); }

bool CaptureSession::start(bool snapshot, const FrameFormat& format, CaptureParts parts) {
  const auto capture = newCapture(snapshot, format);
  stop_ = std::make_shared<StopSwitch>(parts.clock);
  link_ = parts.link;
  parts.capture = capture;
  parts.stop = stop_;
  parts.queue = queue_;
  pool_->open();
  parts.frames = std::make_shared<FramePair>(FramePair{pool_->take(), pool_->take()});
  const bool hasMemory = (*parts.frames)[0] && (*parts.frames)[1];
  setCurrent(capture);
  queue_->begin(capture->number());
  if (hasMemory && thread_.start([parts = std::move(parts), pool = pool_]() mutable {
        runWorker(parts, *pool);
      })) {
    return true;
  }
  pool_->close();
  capture->end(Orvik_EXPSTATE_FAILED);
  queue_->end(capture->number(), NoFrame::kFailed);
  return false;
}

void CaptureSession::startFailed(bool snapshot, const FrameFormat& format) {
  const auto capture = newCapture(snapshot, format);
  capture->end(Orvik_EXPSTATE_FAILED);
  setCurrent(capture);
  queue_->begin(capture->number());
  queue_->end(capture->number(), NoFrame::kFailed);
}

bool CaptureSession::stopWorker() {
  if (!stop_) return thread_.join(0ms);
  stop_->stop();
  // Aborting the reads wakes a worker that waits for data.
  if (CCyBulkEndPoint* bulkIn = link_->device().bulkIn()) bulkIn->abort();
  const bool ended = thread_.join(kStopTimeout);
  stop_.reset();
  link_.reset();
  return ended;
}

bool CaptureSession::stop() {
  const auto capture = current();
  const bool hasImage = capture && capture->isSnapshot() && !capture->isRunning();
  if (capture && !hasImage) {
    queue_->end(capture->number(), NoFrame::kStopped);
    queue_->forget();
  }
  const bool ended = stopWorker();
  if (!hasImage) setCurrent(nullptr);
  return ended;
}

bool CaptureSession::suspend() {
  if (const auto capture = current()) queue_->suspend(capture->number());
  const bool ended = stopWorker();
  setCurrent(nullptr);
  return ended;
}

void CaptureSession::forget() {
  queue_->forget();
  setCurrent(nullptr);
}

}  // namespace orvik
