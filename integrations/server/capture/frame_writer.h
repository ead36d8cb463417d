// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "imaging/image.h"
#include "integrations/server/camera/failure.h"
#include "integrations/server/camera/frame_store.h"
#include "integrations/server/capture/capture_files.h"

namespace orvik::server {

/// Writes frames to files on a thread of its own, so that a slow disk holds up neither the camera
/// nor the network. The frames that wait are as many as their store has. Any thread.
///
/// No function waits, not even the destructor: a disk that hangs must not hang the server. The
/// thread works on until all frames are written, and then destroys the files.
class FrameWriter {
 public:
  using Make = std::function<std::unique_ptr<CaptureFiles>()>;

  /// What its thread tells.
  struct Callbacks {
    std::function<void(const Outcome&)> ready;  ///< the files were made; or not: the thread ends
    std::function<void()> failed;               ///< a frame could not be written; none follows
    std::function<void()> written;              ///< one more frame is in a file
  };

  FrameWriter();
  ~FrameWriter();
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  /// Starts the thread. Once.
  void begin(Make make, Callbacks callbacks);
  /// Adds a frame. After a failure it is dropped.
  void add(SharedFrame frame, imaging::ImageInfo info);
  /// Completes the files when all frames are written, and then tells, on the thread, whether all
  /// went well. Once, at the end.
  void end(Done done);

  struct Progress {
    std::int64_t frames = 0;  ///< in files
    std::uint64_t bytes = 0;
    std::string file;  ///< name of the last one, "" if there is none yet
  };
  [[nodiscard]] Progress progress() const;

 private:
  struct State;
  static void run(State& state, const Make& make, const Callbacks& callbacks);
  static void writeAll(State& state, CaptureFiles& files, const Callbacks& callbacks);

  std::shared_ptr<State> state_;
};

}  // namespace orvik::server
