// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "integrations/server/alpaca/alpaca_camera.h"
#include "integrations/server/alpaca/answer.h"
#include "integrations/server/camera/fleet.h"
#include "integrations/server/http/message.h"

namespace orvik::server {

/// Lends the cameras of a fleet by the Alpaca standard, version 1 of its interface.
class AlpacaApi {
 public:
  /// @param fleet must exist as long as this object
  /// @param name, location what clients show of this server
  /// @param wiring how guide ports are connected to mounts
  AlpacaApi(Fleet& fleet, std::string name, std::string location,
            const GuideWiring& wiring = kUsualWiring);
  ~AlpacaApi();
  AlpacaApi(const AlpacaApi&) = delete;
  AlpacaApi& operator=(const AlpacaApi&) = delete;

  /// Whether a path is one of this interface: /api, /management, /setup and what is below.
  static bool owns(std::string_view path);

  /// Answers a request with such a path. Any thread; returns at once.
  void handle(const Request& request, Reply reply);

 private:
  /// Any thread; null if there is no such camera.
  std::shared_ptr<AlpacaCamera> camera(int number);
  void device(const Request& request, Reply reply);
  [[nodiscard]] Response management(const Request& request, Transaction transaction) const;
  [[nodiscard]] Response setup(const Request& request) const;
  Transaction begin(std::uint32_t client) { return {client, ++transactions_}; }

  Fleet& fleet_;
  const std::string name_;
  const std::string location_;
  const GuideWiring wiring_;
  std::atomic<std::uint32_t> transactions_ = 0;
  std::mutex mutex_;  // of what follows
  std::map<int, std::shared_ptr<AlpacaCamera>> cameras_;
};

}  // namespace orvik::server
