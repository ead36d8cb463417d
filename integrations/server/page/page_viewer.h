// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "integrations/server/http/web_socket.h"
#include "integrations/server/live/live_viewer.h"

namespace orvik::server {

/// Sends what a live view shows. Knows the browser's socket only, so that the view's thread never
/// is the last one to hold the view.
class PageViewer final : public LiveViewer {
 public:
  explicit PageViewer(std::shared_ptr<WebSocket> socket) : socket_(std::move(socket)) {}

  /// Whether the browser takes what it is sent.
  [[nodiscard]] bool hasRoom() const { return socket_->waiting() < kMostWaiting; }

  void picture(const Picture& picture, std::shared_ptr<const std::string> jpeg) override;
  void statistics(const std::shared_ptr<const FrameReport>& report,
                  const std::optional<PixelValue>& pixel) override;
  void stars(const std::vector<imaging::Star>& stars, std::span<const FocusSample> course) override;
  void stretch(const imaging::Stretch& stretch) override;
  [[nodiscard]] std::size_t waiting() const override { return socket_->waiting(); }

 private:
  static constexpr std::size_t kMostWaiting = 6;

  const std::shared_ptr<WebSocket> socket_;
};

}  // namespace orvik::server
