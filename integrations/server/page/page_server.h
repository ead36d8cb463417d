// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "integrations/server/camera/fleet.h"
#include "integrations/server/camera/guide_wiring.h"
#include "integrations/server/capture/capture_folder.h"
#include "integrations/server/http/message.h"
#include "integrations/server/http/web_socket.h"

namespace orvik::server {

/// The server's side of the pages: sessions of browsers, captures into files, the list of cameras.
/// Any thread. The HTTP server has to be destroyed before it, the fleet after it.
class PageServer {
 public:
  /// @param wiring how guide ports are connected to mounts
  PageServer(Fleet& fleet, std::shared_ptr<CaptureFolder> folder,
             const GuideWiring& wiring = kUsualWiring);
  /// Stops captures. What was captured is in the files.
  ~PageServer();
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  /// Begins a session at `/camera/N/live`; null for other paths, for a camera that does not exist,
  /// and if too many watch it.
  std::shared_ptr<WebSocketUser> connect(const Request& request, std::shared_ptr<WebSocket> socket);
  /// Answers `GET /cameras`.
  [[nodiscard]] Response cameras() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orvik::server
