// SPDX-License-Identifier: MIT
// What the connections of one server share. Includes Boost: for sources of this folder only.
#pragma once

#include <boost/asio/io_context.hpp>
#include <memory>
#include <string_view>

#include "integrations/server/http/gate.h"
#include "integrations/server/http/http_server.h"
#include "integrations/server/http/message.h"
#include "integrations/server/http/peers.h"
#include "integrations/server/http/web_socket.h"

namespace orvik::server {

/// All of it belongs to the network thread. Others may post to the loop, which lives as long as
/// anyone who could do so.
struct Network {
  std::shared_ptr<boost::asio::io_context> loop;
  Gate gate;
  Handler handler;
  WebSocketHandler sockets;
  HttpLimits limits;
  Peers peers;
};

/// Tells a fault of the program on standard error. The server goes on.
void reportFault(std::string_view where, std::string_view what);

}  // namespace orvik::server
