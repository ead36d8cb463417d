// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "integrations/server/camera/guide_wiring.h"
#include "integrations/server/camera/served_camera.h"
#include "integrations/server/capture/capture_desk.h"
#include "integrations/server/live/live_view.h"
#include "integrations/server/page/notes.h"

namespace orvik::server {

class PageSession;

/// A camera as its pages see it: what all browsers that watch it have in common. It is open while
/// there is one, and ten seconds beyond.
class PageCamera : public std::enable_shared_from_this<PageCamera> {
 public:
  using Clock = std::chrono::steady_clock;

  /// @param wake is called when there is something to do for tick(), on any thread
  PageCamera(std::shared_ptr<ServedCamera> camera, std::shared_ptr<CaptureFolder> folder,
             const GuideWiring& wiring, std::function<void()> wake);

  [[nodiscard]] ServedCamera& camera() { return *camera_; }
  [[nodiscard]] LiveView& live() { return *live_; }
  [[nodiscard]] CaptureDesk& desk() { return *desk_; }
  [[nodiscard]] const std::shared_ptr<Notes>& notes() const { return notes_; }

  /// Any thread.
  /// @return false if there are too many already
  bool join(const std::shared_ptr<PageSession>& session);
  void leave(const PageSession& session);
  /// A name for somebody at an address that no other has who watches: "192.168.1.5 (2)".
  std::string nameFor(const std::string& address);
  /// Opens and closes the camera, and sends what has changed. On the server's page thread.
  /// @return whether it wants to be called again soon
  bool tick(Clock::time_point now);
  /// What the folder holds, as a message. On the page thread.
  void setFiles(std::shared_ptr<const std::string> files) { files_ = std::move(files); }

 private:
  /// A message that is sent to each session once, and again when it has changed.
  struct Shared {
    std::string text;
    std::uint64_t number = 0;
    Clock::time_point made;
    void set(std::string changed, Clock::time_point now);
  };

  [[nodiscard]] std::vector<std::shared_ptr<PageSession>> sessions() const;
  void lookAfterLink(bool isWatched, Clock::time_point now);
  void describe();
  void makeMessages(int viewers, Clock::time_point now);
  void send(PageSession& session);

  const std::shared_ptr<ServedCamera> camera_;
  const GuideWiring wiring_;
  const std::function<void()> wake_;
  const std::shared_ptr<LiveView> live_;
  const std::unique_ptr<CaptureDesk> desk_;
  const std::shared_ptr<Notes> notes_;

  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<PageSession>> sessions_;

  std::atomic<bool> statusChanged_ = true;
  std::atomic<bool> capturesChanged_ = true;

  // What follows is the page thread's own.
  std::shared_ptr<const ServedCamera::Description> description_;
  std::uint64_t openings_ = 1;
  Shared status_;
  Shared captures_;
  Shared temperature_;
  std::shared_ptr<const std::string> files_;
  int viewers_ = 0;
  std::chrono::system_clock::time_point temperatureAt_;
  Clock::time_point temperatureLooked_;
  std::optional<Clock::time_point> openTried_;
  std::optional<Clock::time_point> unwatchedSince_;
  bool holdsOpen_ = false;

  // Last: nothing is told any more when the rest is destroyed.
  std::shared_ptr<void> statusLine_;
  std::shared_ptr<void> capturesLine_;
};

}  // namespace orvik::server
