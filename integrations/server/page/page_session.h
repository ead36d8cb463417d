// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "integrations/server/http/web_socket.h"
#include "integrations/server/page/commands.h"
#include "integrations/server/page/page_camera.h"
#include "integrations/server/page/page_viewer.h"

namespace orvik::server {

/// One browser at one camera.
class PageSession final : public WebSocketUser {
 public:
  /// Runs work that waits for the disk, on a thread of its own.
  using OnDiskThread = std::function<void(std::function<void()>)>;

  PageSession(std::shared_ptr<PageCamera> camera, std::shared_ptr<CaptureFolder> folder,
              std::shared_ptr<WebSocket> socket, std::string name, OnDiskThread onDiskThread);

  /// Begins to watch; null if too many do.
  static std::shared_ptr<PageSession> begin(std::shared_ptr<PageCamera> camera,
                                            std::shared_ptr<CaptureFolder> folder,
                                            std::shared_ptr<WebSocket> socket, std::string name,
                                            OnDiskThread onDiskThread);

  /// How others see this browser.
  [[nodiscard]] const std::string& name() const { return name_; }

  /// @name For PageCamera, on the page thread
  /// @{
  /// What this browser has been sent last.
  struct Sent {
    std::uint64_t opening = 0;
    std::uint64_t status = 0;
    std::uint64_t captures = 0;
    std::uint64_t temperature = 0;
    std::shared_ptr<const std::string> files;
  };
  [[nodiscard]] Sent& sent() { return sent_; }
  /// Whether the browser takes what it is sent.
  [[nodiscard]] bool hasRoom() const { return shown_->hasRoom(); }
  void send(std::string text) { socket_->sendText(std::move(text)); }
  /// @}

  void received(std::string_view text) override;
  void drained() override { camera_->live().drained(); }
  void closed() override;

 private:
  using Id = std::optional<std::int64_t>;

  // One function for each command.
  void run(Id id, const command::View& view);
  void run(Id id, const command::Seen& seen);
  void run(Id id, const command::Pointer& pointer);
  void run(Id id, const command::Focus& focus);
  void run(Id id, const command::SetStretch& stretch);
  void run(Id id, const command::Control& control);
  void run(Id id, const command::Format& format);
  void run(Id id, const command::Cool& cool);
  void run(Id id, const command::Warm& warm);
  void run(Id id, const command::CoolerOff& off);
  void run(Id id, const command::Guide& guide);
  void run(Id id, const command::Pulse& pulse);
  void run(Id id, const command::Dark& dark);
  void run(Id id, const command::HotPixels& hotPixels);
  void run(Id id, const command::Capture& capture);
  void run(Id id, const command::StopCapture& stop);
  void run(Id id, const command::Delete& remove);

  /// Answers the browser, and tells all when it has succeeded.
  /// @param subject what is noted once only when it changes quickly; "" for each time
  Done answer(Id id, std::string subject, std::string text);
  [[nodiscard]] std::string textOf(const command::Control& control) const;

  const std::shared_ptr<PageCamera> camera_;
  const std::shared_ptr<CaptureFolder> folder_;
  const std::shared_ptr<WebSocket> socket_;
  const std::shared_ptr<PageViewer> shown_;
  const std::string name_;
  const OnDiskThread onDiskThread_;
  int viewer_ = 0;
  // Commands that have not been answered. Their answers may outlive the session.
  const std::shared_ptr<std::atomic<int>> running_ = std::make_shared<std::atomic<int>>(0);
  std::array<bool, 4> heldLines_{};  // on the network thread
  Sent sent_;                        // on the page thread
};

}  // namespace orvik::server
