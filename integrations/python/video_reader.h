// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "session.h"

namespace orvik::python {

/// The frames of a running video, an iterator in Python. It ends after a number of frames, at
/// stop(), and with any exception; each stops the video.
///
/// A frame's memory is used again when no array refers to it any more, so that a loop that keeps no
/// frames gets along with two buffers.
class VideoReader {
 public:
  /// @param count frames to deliver, empty for no end
  /// @param timeout longest wait for a frame in seconds, empty for the library's
  VideoReader(std::shared_ptr<Session> session, std::optional<std::int64_t> count,
              std::optional<double> timeout);
  ~VideoReader() { stop(); }
  VideoReader(const VideoReader&) = delete;
  VideoReader& operator=(const VideoReader&) = delete;

  /// @throws pybind11::stop_iteration at the end
  py::object next();
  void stop() noexcept;
  /// Frames lost so far.
  [[nodiscard]] std::int64_t lost() const { return lost_; }

 private:
  std::shared_ptr<Frame> unusedFrame();
  /// @return false if the video was stopped meanwhile
  bool read(Camera& camera, Frame& frame);

  std::shared_ptr<Session> session_;
  std::optional<std::int64_t> left_;
  std::optional<double> timeout_;
  std::atomic<bool> isStopped_ = false;
  std::int64_t lost_ = 0;
  std::vector<std::shared_ptr<Frame>> frames_;
  std::optional<Video> video_;
};

}  // namespace orvik::python
