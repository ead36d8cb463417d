// SPDX-License-Identifier: MIT
#include "integrations/server/http/request_head.h"

#include <boost/beast/http/error.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/http/verb.hpp>
#include <string>
#include <string_view>

#include "integrations/server/http/form.h"
#include "integrations/server/http/request_target.h"

namespace orvik::server {
namespace {

namespace http = boost::beast::http;

std::string_view viewOf(boost::beast::string_view text) { return {text.data(), text.size()}; }

}  // namespace

Response answerToFault(const boost::system::error_code& fault) {
  if (fault == http::error::header_limit) {
    return plainText(431, "The headers of the request are too long.\n");
  }
  if (fault == http::error::body_limit) {
    return plainText(413, "The body of the request is too long.\n");
  }
  if (fault == http::error::bad_version) return plainText(505, "This server speaks HTTP/1.1.\n");
  return plainText(400, "The request is not well formed.\n");
}

std::optional<Response> faultOfHeaders(const HttpMessage& message) {
  const unsigned version = message.version();
  if (version != 10 && version != 11) return plainText(505, "This server speaks HTTP/1.1.\n");
  switch (message.method()) {
    case http::verb::get:
    case http::verb::head:
    case http::verb::put:
    case http::verb::post:
    case http::verb::delete_:
    case http::verb::options:
    case http::verb::patch:
      break;
    default:
      return plainText(400, "The server does not know this method.\n");
  }
  if (!parseTarget(viewOf(message.target()))) {
    return plainText(400, "The path is not well formed.\n");
  }
  const auto hosts = message.count(http::field::host);
  if (hosts > 1 || (hosts == 0 && version == 11)) {
    return plainText(400, "The request has to name one host.\n");
  }
  // Servers that disagree about the end of a request would take its rest for another one.
  const auto encodings = message.count(http::field::transfer_encoding);
  if (encodings > 1 ||
      (encodings == 1 &&
       (version == 10 || !message.chunked() ||
        !equalInAnyCase(viewOf(message[http::field::transfer_encoding]), "chunked")))) {
    return plainText(400, "The server does not know this transfer encoding.\n");
  }
  const auto expected = viewOf(message[http::field::expect]);
  if (!expected.empty() && !equalInAnyCase(expected, "100-continue")) {
    return plainText(417, "The server cannot do what the request expects.\n");
  }
  return std::nullopt;
}

Request requestFrom(const HttpMessage& message) {
  const auto target = parseTarget(viewOf(message.target())).value();
  Request request;
  request.method = std::string(viewOf(message.method_string()));
  request.path = target.path;
  request.query = target.query;
  if (!target.host.empty()) request.headers.add("Host", std::string(target.host));
  for (const auto& field : message) {
    // The host of a whole address counts instead of the header.
    if (field.name() == http::field::host && !target.host.empty()) continue;
    request.headers.add(std::string(viewOf(field.name_string())),
                        std::string(viewOf(field.value())));
  }
  return request;
}

}  // namespace orvik::server
