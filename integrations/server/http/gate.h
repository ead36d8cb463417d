// SPDX-License-Identifier: MIT
// Who may use the server: hosts, origins and the access token.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "integrations/server/http/message.h"

namespace orvik::server {

/// Decides about requests before anything looks at them.
///
/// A page of a foreign site that a user has open must not steer the cameras. Browsers tell the site
/// in `Origin` (or `Sec-Fetch-Site`), and the name that they have resolved in `Host`: a name that
/// is not this machine's would be a foreign one that was made to point here (DNS rebinding).
/// Programs that are no browsers send no origin and are let in.
class Gate {
 public:
  /// @param hosts names under which the server is reached, besides literal addresses, "localhost"
  ///        and the machine's own name; in any case, without port
  /// @param token the access token; empty for none
  Gate(std::vector<std::string> hosts, std::string token);

  /// The answer that refuses a request, or nothing if it may pass: 421 for an unknown host, 403 for
  /// a foreign origin of a request that changes state or opens a WebSocket, 401 without the token
  /// where one is needed.
  ///
  /// With a token, the list of cameras, WebSockets, captured files and everything that is not GET
  /// or HEAD need it: as the cookie that `PUT /login` sets, as `Authorization: Bearer TOKEN`, or as
  /// the password of basic authentication. GET of Alpaca's members and setup pages pass, and the
  /// empty page with its scripts, which asks for the token.
  [[nodiscard]] std::optional<Response> refusal(const Request& request,
                                                bool opensWebSocket = false) const;

  /// Answers `PUT /login` with the body `token=...`: 204 with the cookie, or 401.
  [[nodiscard]] Response login(const Request& request) const;

 private:
  [[nodiscard]] bool isOurs(std::string_view text) const;
  [[nodiscard]] bool hasToken(const Request& request) const;

  std::vector<std::string> hosts_;
  std::string token_;
  std::string cookie_;  ///< what the cookie holds: a random key, which ends with the program
};

}  // namespace orvik::server
