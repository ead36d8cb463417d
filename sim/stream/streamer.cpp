// SPDX-License-Identifier: MIT
#include "sim/stream/streamer.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace orvik::sim {
namespace {

/// Whether two settings differ in anything that registers decide.
bool differ(const FrameSettings& one, FrameSettings other) {
  other.celsius = one.celsius;
  return one != other;
}

}  // namespace

Streamer::Streamer(std::mutex& mutex, const Camera& camera, BulkPipe& pipe,
                   std::shared_ptr<seam::Clock> clock, const CameraOptions& options,
                   CameraLink link, PictureMaker maker)
    : mutex_(mutex),
      camera_(camera),
      pipe_(pipe),
      clock_(std::move(clock)),
      pace_(options.pace),
      temperament_(options.temperament),
      link_(std::move(link)),
      pictures_(options, std::move(maker)),
      jitter_(options.seed) {}

void Streamer::prepare() {
  if (prepared_ != Prepared::kNo) return;
  prepared_ = Prepared::kAsked;
  startThread();
}

void Streamer::advance() {
  if (timed() && wanted()) readRows(clock_->now());
}

void Streamer::update() {
  const CaptureState before = std::exchange(state_, camera_.captureState());
  if (before.bridgeStreams && !state_.bridgeStreams) {
    dropFrames();
    discard();
  } else if (state_.mode != before.mode) {
    const bool finishes = state_.mode != RunMode::kStopped &&
                          temperament_.modeChange == Temperament::ModeChange::kFinish;
    dropExposures();
    if (!finishes) reading_.reset();
  }
  if (state_.mode == RunMode::kStopped) link_.rest();
  const Duration now = clock_->now();
  followSettings(now);
  followShutter();
  beginExposure(now);
  startThread();
  wake();
}

void Streamer::wake() {
  poked_ = true;
  work_.notify_one();
}

void Streamer::wake(Lock& lock) {
  poked_ = true;
  lock.unlock();
  work_.notify_one();
}

void Streamer::pipeCleared() {
  if (temperament_.clearHalt == Temperament::ClearHalt::kDiscard) discard();
}

/// Drops what is being exposed or read out; what has been read out stays.
void Streamer::dropFrames() {
  reading_.reset();
  dropExposures();
}

void Streamer::dropExposures() {
  ++changes_;
  exposing_.reset();
  exposed_.reset();
  shutterOpened_.reset();
}

/// Discards what waits for the host, and the rest of the frame that is being read out.
void Streamer::discard() {
  ++changes_;
  ++discards_;
  outbox_.clear();
  link_.clear();
  pipe_.beginPacket();
  if (reading_) reading_->lost = true;
}

void Streamer::setHostPresent(bool present) {
  hostPresent_ = present;
  if (!present) {
    ++changes_;
    exposing_.reset();
    reading_.reset();
    link_.rest();
    if (!threadRuns_) pictures_.release();
  }
  beginExposure(clock_->now());
  startThread();
  wake();
}

void Streamer::stop() {
  stopped_ = true;
  dropFrames();
  discard();
  link_.rest();
  wake();
}

void Streamer::join() {
  std::thread ending;
  {
    const std::lock_guard lock(mutex_);
    ending = std::move(thread_);
  }
  if (ending.joinable()) ending.join();
}

bool Streamer::wanted() const {
  return !stopped_ && hostPresent_ && state_.mode != RunMode::kStopped;
}

bool Streamer::hasToPrepare() const {
  return !stopped_ && hostPresent_ && prepared_ == Prepared::kAsked;
}

void Streamer::startThread() {
  if (threadRuns_ || !(wanted() || hasToPrepare())) return;
  // A thread that has cleared threadRuns_ does not take the lock again.
  if (thread_.joinable()) thread_.join();
  try {
    thread_ = std::thread([this] { run(); });
    threadRuns_ = true;
  } catch (const std::system_error&) {
    // Without a thread the camera sends nothing, like a camera that hangs; the next request tries
    // again.
  }
}

void Streamer::beginExposure(Duration now) {
  if (!wanted() || !timed() || state_.mode != RunMode::kFreeRunning || !state_.settings ||
      exposing_ || reading_) {
    return;
  }
  exposing_ = Exposure{*state_.settings, now, now + state_.settings->frameTime};
  link_.use(*state_.settings);
}

void Streamer::followShutter() {
  if (state_.mode != RunMode::kTriggered) return;
  const Duration now = clock_->now();
  if (state_.shutterOpen && !shutterOpened_) {
    shutterOpened_ = now;
    if (state_.settings) exposing_ = Exposure{*state_.settings, now, now};
  } else if (!state_.shutterOpen && shutterOpened_) {
    if (exposing_) {
      exposed_ = Exposure{exposing_->settings, exposing_->begins, now};
      exposed_->settings.exposure = now - exposing_->begins;
    }
    shutterOpened_.reset();
    exposing_.reset();
  }
}

/// Lets registers take effect within a frame, on cameras that work in this way.
void Streamer::followSettings(Duration now) {
  if (temperament_.latch != Temperament::Latch::kImmediate || !timed() ||
      state_.mode != RunMode::kFreeRunning) {
    return;
  }
  if (!state_.settings) {
    dropFrames();
    return;
  }
  const FrameSettings& settings = *state_.settings;
  if (exposing_ && differ(exposing_->settings, settings)) {
    exposing_->settings = settings;
    exposing_->ends =
        std::max(exposing_->begins + settings.frameTime, now + settings.lineTime() * settings.rows);
    link_.use(settings);
  }
  if (reading_ && differ(reading_->settings, settings)) {
    ++changes_;
    reading_->settings = settings;
    reading_->rows.change(settings, now);
    reading_->strip = {};
    link_.use(settings);
    if (reading_->rows.done()) endReadout();
  }
}

}  // namespace orvik::sim
