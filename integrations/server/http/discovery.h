// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

#include "integrations/server/http/http_server.h"

namespace orvik::server {

/// Answers the clients that look for Alpaca servers by datagrams, on a thread of its own.
///
/// Only those are answered that can reach the server where it listens: on loopback it answers
/// senders on this machine; on an address of this machine it answers from that address; on 0.0.0.0
/// or :: everyone. Senders with public IPv6 addresses get no answer, nor do floods: a forged sender
/// must not be flooded by way of this server.
class Discovery {
 public:
  static constexpr std::uint16_t kPort = 32227;

  /// @param api where the HTTP server listens, with its real port
  /// @param port where to listen for datagrams; 0 for any free one
  /// @throws std::system_error if the port is taken
  explicit Discovery(const ListenAddress& api, std::uint16_t port = kPort);
  ~Discovery();
  Discovery(const Discovery&) = delete;
  Discovery& operator=(const Discovery&) = delete;

  [[nodiscard]] std::uint16_t port() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orvik::server
