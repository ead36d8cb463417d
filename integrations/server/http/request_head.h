// SPDX-License-Identifier: MIT
// Requests as the parser gives them. Includes Boost: for sources of this folder only.
#pragma once

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/system/error_code.hpp>
#include <optional>

#include "integrations/server/http/message.h"

namespace orvik::server {

using HttpMessage = boost::beast::http::request<boost::beast::http::string_body>;

/// The answer to what the parser does not understand.
Response answerToFault(const boost::system::error_code& fault);

/// The answer to a request that the server does not take, whoever sends it. Only the headers have
/// to be there.
std::optional<Response> faultOfHeaders(const HttpMessage& message);

/// The target and headers of a request that has no fault.
Request requestFrom(const HttpMessage& message);

}  // namespace orvik::server
