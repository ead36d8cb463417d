// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "integrations/server/alpaca/api.h"
#include "integrations/server/capture/capture_folder.h"
#include "integrations/server/http/gate.h"
#include "integrations/server/http/message.h"

namespace orvik::server {

/// Leads requests to those who answer them: Alpaca's paths to Alpaca, the others to the page, its
/// files and what was captured. On the network thread.
class Router {
 public:
  /// @param listCameras answers GET /cameras
  Router(AlpacaApi& alpaca, Gate gate, std::shared_ptr<CaptureFolder> folder,
         std::function<Response()> listCameras);

  void operator()(const Request& request, Reply reply) const;

 private:
  [[nodiscard]] Response page(const Request& request) const;
  [[nodiscard]] Response download(const Request& request) const;

  AlpacaApi& alpaca_;
  Gate gate_;
  std::shared_ptr<CaptureFolder> folder_;
  std::function<Response()> listCameras_;
};

}  // namespace orvik::server
