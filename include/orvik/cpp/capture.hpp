// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <stop_token>
#include <utility>

#include "orvik/cpp/camera.hpp"

namespace orvik {
inline namespace v0 {

/// @addtogroup cpp
/// @{

/// How long the read-out of an image may take beyond its exposure, on a crowded bus with retries.
inline std::chrono::milliseconds readOutLimit(const ImageFormat& format) {
  constexpr auto kRetries = std::chrono::seconds(10);
  constexpr std::size_t kSlowestBytesPerMs = 5000;
  // An image that is binned on the host crosses the bus unbinned.
  const auto bin = static_cast<std::size_t>(format.bin);
  const std::size_t bytes = imageBytes(format.width, format.height, format.type) * bin * bin;
  return kRetries + std::chrono::milliseconds(bytes / kSlowestBytesPerMs);
}

/// Waits for a length of time.
/// @return false, at once, when a stop is requested
inline bool sleepFor(std::chrono::steady_clock::duration length, const std::stop_token& stop) {
  std::mutex mutex;
  std::unique_lock lock(mutex);
  std::condition_variable_any woken;
  woken.wait_for(lock, stop, length, [] { return false; });
  return !stop.stop_requested();
}

/// A single exposure. The constructor starts it, the destructor stops it.
class Snapshot {
 public:
  using Clock = std::chrono::steady_clock;

  /// Starts the exposure with the camera's present settings. The camera must exist as long as this
  /// object.
  explicit Snapshot(Camera& camera, OnError onError = {}) : camera_(&camera), begun_(Clock::now()) {
    std::error_code error;
    exposure_ = camera.get(control::kExposure, error);
    const ImageFormat format = camera.format(error);
    bytes_ = bytesOf(format);
    deadline_ = begun_ + exposure_ + readOutLimit(format);
    camera.startExposure(error);
    isRunning_ = !error;
    report(error, "starting the exposure", onError);
  }
  ~Snapshot() { stop(); }
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  /// Whether it was started, and neither fetched, stopped nor found to have failed.
  [[nodiscard]] bool isRunning() const { return isRunning_; }
  [[nodiscard]] std::chrono::microseconds exposure() const { return exposure_; }
  /// Exposure time that is left, 0 or more.
  [[nodiscard]] std::chrono::microseconds left() const {
    const Clock::duration left = begun_ + exposure_ - Clock::now();
    return std::chrono::duration_cast<std::chrono::microseconds>(
        std::max(left, Clock::duration::zero()));
  }

  /// Looks whether the image is ready. Fails with #Orvik_ERROR_NO_FRAME when the exposure has
  /// failed, or has not ended in time.
  bool isReady(OnError onError = {}) {
    if (!isRunning_) return false;
    std::error_code error;
    const Orvik_EXPOSURE_STATUS status = camera_->exposureStatus(error);
    if (status == Orvik_EXPSTATE_READY) return true;
    const bool isExposing = status == Orvik_EXPSTATE_EXPOSING;
    if (!error && isExposing && Clock::now() < deadline_) return false;
    stop();
    if (!error) error = errorCode(Orvik_ERROR_NO_FRAME);
    report(error, isExposing ? "the exposure did not end in time" : "the exposure failed", onError);
    return false;
  }

  /// Waits until the image is ready. Fails as isReady().
  ///
  /// @return false when a stop was requested; the exposure is then stopped
  bool wait(const std::stop_token& stopToken = {}, OnError onError = {}) {
    using std::chrono::milliseconds;
    while (isRunning_) {
      if (isReady(onError)) return true;
      // Short steps around the end of the exposure, longer ones before.
      const auto step = std::clamp<Clock::duration>(left() / 2, milliseconds(1), milliseconds(100));
      if (isRunning_ && !sleepFor(step, stopToken)) stop();
    }
    return false;
  }

  /// Fetches the image, which has to be ready. Its memory in `frame` is used again.
  void fetch(Frame& frame, OnError onError = {}) {
    std::error_code error;
    // The library wants room for an image of the present format, which another thread may have set.
    const std::size_t bytes = std::max(bytes_, bytesOf(camera_->format(error)));
    if (!error) camera_->fetchExposure(frame.reserve(bytes), error);
    if (!error) frame.filled(camera_->frameInfo(error));
    if (!error) isRunning_ = false;
    report(error, "fetching the image", onError);
  }

  /// Stops the exposure, or drops its image. Does nothing when it is over.
  void stop() noexcept {
    if (std::exchange(isRunning_, false)) OrvikStopExposure(camera_->handle());
  }

 private:
  static std::size_t bytesOf(const ImageFormat& format) {
    return imageBytes(format.width, format.height, format.type);
  }
  void report(const std::error_code& error, const char* what, OnError onError) const {
    onError.succeeded(error, [&] { return camera_->doing(what); });
  }

  Camera* camera_;
  Clock::time_point begun_;
  Clock::time_point deadline_;
  std::chrono::microseconds exposure_{0};
  std::size_t bytes_ = 0;
  bool isRunning_ = false;
};

/// Takes a single exposure with the camera's present settings and waits for its image.
///
/// @return the image; an empty one when a stop was requested
inline Frame snap(Camera& camera, const std::stop_token& stop = {}, OnError onError = {}) {
  Frame frame;
  Snapshot snapshot(camera, onError);
  if (snapshot.wait(stop, onError)) snapshot.fetch(frame, onError);
  return frame;
}

/// The frames of a video, from the first to the moment at which a stop is requested.
///
///     for (const orvik::Frame& frame : orvik::Video(camera, stop)) show(frame);
///
/// The constructor starts the video and the destructor stops it.
class Video {
 public:
  /// The camera must exist as long as this object, and nothing else may read its frames.
  explicit Video(Camera& camera, std::stop_token stop = {}, OnError onError = {})
      : camera_(&camera), stop_(std::move(stop)) {
    std::error_code error;
    camera.startVideo(error);
    isRunning_ = !error;
    onError.succeeded(error, [&] { return camera.doing("starting video"); });
  }
  ~Video() { stop(); }
  Video(const Video&) = delete;
  Video& operator=(const Video&) = delete;

  /// Ends the video at a time, as a stop request does.
  void stopAt(std::chrono::steady_clock::time_point end) { end_ = end; }

  /// Waits for the next frame, at most for limit(); then it fails with #Orvik_ERROR_NO_FRAME, as it
  /// does when the camera is unplugged or the video was stopped.
  ///
  /// @param frame receives the image; its memory is used again
  /// @return false when a stop was requested, at most a tenth of a second ago, or the time of
  ///         stopAt() has come
  bool next(Frame& frame, OnError onError = {}) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begun = Clock::now();
    std::error_code error;
    while (!error && !stop_.stop_requested() && Clock::now() < end_) {
      const auto wait = std::chrono::ceil<std::chrono::milliseconds>(
          std::min<Clock::duration>(kSlice, end_ - Clock::now()));
      if (next(frame, std::max(wait, kNoWait), error)) return true;
      if (!error && Clock::now() - begun > limit(error)) error = errorCode(Orvik_ERROR_NO_FRAME);
    }
    report(error, onError);
    return false;
  }

  /// Waits for the next frame for so long, for programs that have other work to do meanwhile.
  ///
  /// @return false when there is none yet
  bool next(Frame& frame, std::chrono::milliseconds timeout, OnError onError = {}) {
    std::error_code error;
    const ImageFormat format = camera_->format(error);
    const auto buffer = frame.reserve(imageBytes(format.width, format.height, format.type));
    if (!error && camera_->readFrame(buffer, timeout, error)) {
      frame.filled(camera_->frameInfo(error));
      if (!error) return true;
    }
    // Another thread may have set another format: a frame of the former one may still be queued.
    if (error == errorCode(Orvik_ERROR_BUFFER_SMALL)) {
      error.clear();
    } else if (error && camera_->noFrameReason() == Orvik_NO_FRAME_TOO_LARGE) {
      frame.reserve(2 * buffer.size());
      error.clear();
    }
    report(error, onError);
    return false;
  }

  /// How long a frame may take: two exposures and the read-out limit, with the present settings.
  [[nodiscard]] std::chrono::microseconds limit(OnError onError = {}) const {
    std::error_code error;
    const auto limit =
        2 * camera_->get(control::kExposure, error) + readOutLimit(camera_->format(error));
    report(error, onError);
    return limit;
  }

  /// Stops the video before its object is destroyed. Any thread, once; next() then fails.
  void stop() noexcept {
    if (std::exchange(isRunning_, false)) OrvikStopVideoCapture(camera_->handle());
  }

  /// Input iterator over the frames; each increment overwrites the frame. It throws as next() does.
  class Iterator {
   public:
    using value_type = Frame;
    using difference_type = std::ptrdiff_t;

    explicit Iterator(Video& video) : video_(&video) { ++*this; }
    const Frame& operator*() const { return video_->frame_; }
    const Frame* operator->() const { return &video_->frame_; }
    Iterator& operator++() {
      isOver_ = !video_->next(video_->frame_);
      return *this;
    }
    void operator++(int) { ++*this; }
    friend bool operator==(const Iterator& iterator, std::default_sentinel_t) {
      return iterator.isOver_;
    }

   private:
    Video* video_;
    bool isOver_ = false;
  };
  /// Reads the first frame. A video can be iterated once.
  Iterator begin() { return Iterator(*this); }
  [[nodiscard]] static std::default_sentinel_t end() { return {}; }

 private:
  static constexpr std::chrono::milliseconds kNoWait{0};
  static constexpr std::chrono::milliseconds kSlice{100};

  void report(const std::error_code& error, OnError onError) const {
    onError.succeeded(error, [&] { return camera_->doing(camera_->readingText()); });
  }

  Camera* camera_;
  std::stop_token stop_;
  std::chrono::steady_clock::time_point end_ = std::chrono::steady_clock::time_point::max();
  bool isRunning_ = false;
  Frame frame_;
};

/// @}

}  // namespace v0
}  // namespace orvik
