// SPDX-License-Identifier: MIT
// Captures of one camera into files.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "integrations/server/camera/failure.h"
#include "integrations/server/camera/served_camera.h"
#include "integrations/server/capture/capture_folder.h"
#include "integrations/server/capture/capture_request.h"

namespace orvik::server {

/// How captures stand at a moment.
struct CaptureState {
  using Seconds = std::chrono::duration<double>;

  struct Running {
    std::string what;  ///< for users: "images moon", "video moon"
    std::string who;
    CaptureFormat format = CaptureFormat::kFits;
    std::int64_t done = 0;              ///< images or frames in files
    std::optional<std::int64_t> count;  ///< empty: until it is stopped
    std::int64_t lost = 0;              ///< frames of a video, or images that were taken again
    std::chrono::system_clock::time_point begun;
    std::optional<Seconds> remaining;
    Seconds exposureLeft{0};  ///< of the running exposure
    std::uint64_t bytes = 0;  ///< written
    std::string file;         ///< name of the last one, "" if there is none yet
  };
  struct Last {
    std::string what;
    std::int64_t done = 0;
    std::optional<std::string>
        message;  ///< why it ended early; empty if it was complete or stopped
  };
  std::optional<Running> running;
  std::optional<Last> last;  ///< how the last one ended
};

/// Captures images and videos of a camera into the server's folder, one capture at a time. A
/// capture keeps the camera open and goes on without a browser. Any thread.
class CaptureDesk {
 public:
  CaptureDesk(std::shared_ptr<ServedCamera> camera, std::shared_ptr<CaptureFolder> folder);
  /// Stops a capture that is running, and waits for its end. What was captured is in the files.
  ~CaptureDesk();
  CaptureDesk(const CaptureDesk&) = delete;
  CaptureDesk& operator=(const CaptureDesk&) = delete;

  /// Begins a capture, and opens the camera for it if need be.
  ///
  /// @param who how others see the one who wants it
  /// @param done told when the capture has begun; or that it cannot: kBadValue, kBusy if another
  ///        one has the camera, kFile if nothing can be written, kNotOpen or kCamera
  void start(CaptureRequest request, std::string who, const Done& done);
  /// Stops the capture; the frames that were captured until now get into the files. Fails if none
  /// is running. Does not wait for the end.
  Outcome stop(const std::string& who);

  [[nodiscard]] CaptureState state() const;
  /// Calls a function after each change, and twice a second while a capture runs, on any thread; it
  /// must return at once. Ends as that of CaptureFolder::onChange().
  [[nodiscard]] std::shared_ptr<void> onChange(std::function<void()> function);

 private:
  class Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace orvik::server
