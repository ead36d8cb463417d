// SPDX-License-Identifier: MIT
#include "sim/stream/streamer.h"

#include <new>
#include <system_error>
#include <utility>

#include "sim/picture/marks.h"

namespace orvik::sim {
namespace {

/// How many frames a machine too slow for the camera may lag behind before it loses some.
constexpr int kMostFramesBehind = 8;

}  // namespace

Streamer::Streamer(std::mutex& mutex, const Camera& camera, BulkPipe& pipe,
                   std::shared_ptr<seam::Clock> clock, const CameraOptions& options,
                   PictureMaker maker)
    : mutex_(mutex),
      camera_(camera),
      pipe_(pipe),
      clock_(std::move(clock)),
      pace_(options.pace),
      filter_(options.frameFilter),
      maker_(std::move(maker)) {}

void Streamer::update() {
  const RunMode before = state_.mode;
  state_ = camera_.captureState();
  if (state_.mode != before) {
    // A sensor that changes from one way of exposing to another finishes the frame that it sends.
    const bool finishes = state_.mode != RunMode::kStopped && outgoing_ && outgoing_->onItsWay;
    if (!finishes) flush();
    exposing_.reset();
    shutterOpened_.reset();
    exposed_.reset();
  }
  followShutter();
  beginExposure();
  startThread();
  wake();
}

void Streamer::wake() {
  poked_ = true;
  work_.notify_one();
}

void Streamer::flush() {
  ++epoch_;
  outgoing_.reset();
}

void Streamer::setHostPresent(bool present) {
  hostPresent_ = present;
  if (!present) exposing_.reset();
  beginExposure();
  startThread();
  wake();
}

void Streamer::stop() {
  stopped_ = true;
  flush();
  wake();
}

void Streamer::join() {
  if (thread_.joinable()) thread_.join();
}

bool Streamer::wanted() const {
  return !stopped_ && hostPresent_ && state_.mode != RunMode::kStopped;
}

void Streamer::startThread() {
  if (threadRuns_ || !wanted()) return;
  // A thread that has said that it does not run any more needs the lock no more.
  join();
  try {
    thread_ = std::thread([this] { run(); });
    threadRuns_ = true;
  } catch (const std::system_error&) {
    // Without a thread the camera sends nothing, as one that has hung; the next request tries
    // again.
  }
}

void Streamer::beginExposure() {
  const bool timed = state_.mode == RunMode::kFreeRunning && pace_ == Pace::kReal;
  if (!wanted() || !timed || exposing_ || !state_.settings) return;
  exposing_ = Exposure{*state_.settings, clock_->now() + state_.settings->frameTime};
}

void Streamer::followShutter() {
  if (state_.mode != RunMode::kTriggered) return;
  if (state_.shutterOpen && !shutterOpened_) {
    shutterOpened_ = clock_->now();
    if (state_.settings) exposing_ = Exposure{*state_.settings, {}};
  } else if (!state_.shutterOpen && shutterOpened_) {
    if (exposing_) {
      exposed_ = exposing_->settings;
      exposed_->exposure = clock_->now() - *shutterOpened_;
    }
    shutterOpened_.reset();
    exposing_.reset();
  }
}

void Streamer::run() {
  Lock lock(mutex_);
  try {
    while (wanted()) {
      poked_ = false;
      while (wanted() && step(lock)) {
      }
      if (wanted()) waitForWork(lock);
    }
  } catch (const std::bad_alloc&) {
    // No memory for a picture: the camera falls silent until the next request.
    if (!lock.owns_lock()) lock.lock();
  }
  threadRuns_ = false;
}

void Streamer::waitForWork(Lock& lock) {
  const auto poked = [this] { return poked_; };
  if (state_.mode == RunMode::kFreeRunning && pace_ == Pace::kReal && exposing_) {
    clock_->waitUntil(lock, work_, exposing_->ends, poked);
  } else {
    work_.wait(lock, poked);
  }
}

bool Streamer::step(Lock& lock) {
  if (outgoing_ && pipe_.ready()) {
    send(lock);
    return true;
  }
  if (state_.mode == RunMode::kTriggered) return developTriggered(lock);
  return pace_ == Pace::kReal ? exposeOnTime(lock) : exposeOnDemand(lock);
}

void Streamer::send(Lock& lock) {
  outgoing_->onItsWay = true;
  const std::uint64_t epoch = epoch_;
  const std::size_t sent = pipe_.send(lock, outgoing_->bytes, outgoing_->sent);
  if (epoch != epoch_) return;
  outgoing_->sent = sent;
  if (sent == outgoing_->bytes.size()) outgoing_.reset();
}

bool Streamer::exposeOnTime(Lock& lock) {
  const Duration now = clock_->now();
  if (!exposing_ || now < exposing_->ends) return false;

  const Exposure finished = *exposing_;
  const std::uint64_t number = nextFrame_++;
  state_ = camera_.captureState();
  if (state_.settings) {
    const Duration frameTime = state_.settings->frameTime;
    exposing_ = Exposure{*state_.settings, finished.ends + frameTime};
    const auto behind = (now - exposing_->ends) / frameTime;
    if (behind > kMostFramesBehind) {
      nextFrame_ += static_cast<std::uint64_t>(behind);
      exposing_->ends += behind * frameTime;
    }
  } else {
    exposing_.reset();
  }
  if (!outgoing_) make(lock, finished.settings, number);
  return true;
}

bool Streamer::exposeOnDemand(Lock& lock) {
  if (outgoing_ || !pipe_.ready()) return false;
  state_ = camera_.captureState();
  if (!state_.settings) return false;
  make(lock, *state_.settings, nextFrame_++);
  return true;
}

bool Streamer::developTriggered(Lock& lock) {
  if (!exposed_) return false;
  const FrameSettings settings = *std::exchange(exposed_, std::nullopt);
  const std::uint64_t number = nextFrame_++;
  if (!outgoing_) make(lock, settings, number);
  return true;
}

// By value: the registers may be written while the picture is made without the lock.
void Streamer::make(Lock& lock, const FrameSettings settings, std::uint64_t number) {
  const bool repeated = pace_ == Pace::kFree && state_.mode == RunMode::kFreeRunning;
  const std::uint64_t epoch = epoch_;
  lock.unlock();
  std::span<std::uint8_t> frame =
      repeated ? pictureFromRing(settings, number) : freshPicture(settings, number);
  stampMarks(settings.marks, frame, static_cast<std::uint16_t>(number));
  bool goesOut = true;
  if (filter_) {
    // A picture of the ring must survive what the filter does.
    if (repeated) frameMemory_.assign(frame.begin(), frame.end());
    goesOut = filter_(frameMemory_);
    frame = frameMemory_;
  }
  lock.lock();
  if (goesOut && !frame.empty() && epoch == epoch_) outgoing_ = Outgoing{.bytes = frame};
}

std::span<std::uint8_t> Streamer::freshPicture(const FrameSettings& settings,
                                               std::uint64_t number) {
  frameMemory_.resize(settings.bytes());
  maker_.make(settings, number, frameMemory_);
  return frameMemory_;
}

std::span<std::uint8_t> Streamer::pictureFromRing(const FrameSettings& settings,
                                                  std::uint64_t number) {
  if (ring_.settings != settings) {
    ring_.settings = settings;
    ring_.made = 0;
    ring_.next = 0;
  }
  std::vector<std::uint8_t>& picture = ring_.pictures.at(ring_.next);
  if (ring_.made == ring_.next) {
    picture.resize(settings.bytes());
    maker_.make(settings, number, picture);
    ++ring_.made;
  }
  ring_.next = (ring_.next + 1) % ring_.pictures.size();
  return picture;
}

}  // namespace orvik::sim
