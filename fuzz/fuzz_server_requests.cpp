// SPDX-License-Identifier: MIT
// What the server reads from requests by itself. The input is a request: a line with the method and
// the target, headers, an empty line, and a body. Each part of the server that reads requests has a
// function here, and all of them get each request.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "integrations/server/alpaca/answer.h"
#include "integrations/server/alpaca/arguments.h"
#include "integrations/server/alpaca/error.h"
#include "integrations/server/alpaca/members.h"
#include "integrations/server/alpaca/route.h"
#include "integrations/server/http/assets.h"
#include "integrations/server/http/file_response.h"
#include "integrations/server/http/form.h"
#include "integrations/server/http/gate.h"
#include "integrations/server/http/request_target.h"
#include "integrations/server/http/response_stream.h"

namespace {

using namespace orvik::server;  // NOLINT(google-build-using-namespace)

void require(bool condition) {
  if (!condition) std::abort();
}

std::string_view takeUntil(std::string_view& text, std::string_view end) {
  const std::string_view part = text.substr(0, text.find(end));
  text.remove_prefix(std::min(part.size() + end.size(), text.size()));
  return part;
}

/// Nothing for a target that no handler sees.
std::optional<Request> readRequest(std::string_view text) {
  Request request;
  request.method = takeUntil(text, " ");
  const auto target = parseTarget(takeUntil(text, "\n"));
  if (!target) return std::nullopt;
  require(target->path.starts_with('/'));
  request.path = target->path;
  request.query = target->query;
  if (!target->host.empty()) request.headers.add("Host", std::string(target->host));
  for (std::string_view line = takeUntil(text, "\n"); !line.empty(); line = takeUntil(text, "\n")) {
    const std::string name(takeUntil(line, ": "));
    request.headers.add(name, std::string(line));
  }
  request.body = text;
  return request;
}

void readForms(const Request& request) {
  for (const std::string* text : {&request.query, &request.body}) {
    const Form form = Form::parse(*text);
    for (const std::string_view name : {"token", "ClientID", "", "Duration"}) {
      const auto exact = form.exact(name);
      const auto any = form.anyCase(name);
      require(!exact || any);
      require(!exact || exact->size() <= text->size());
    }
  }
}

void readPath(const Request& request) {
  const auto path = decodedPath(request.path);
  if (!path) return;
  require(std::none_of(path->begin(), path->end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }));
  require(path->find("/../") == std::string::npos && !path->ends_with("/.."));
}

/// What the gate lets in must have the right to it.
void passGate(const Request& request) {
  static const Gate open({}, "");
  static const Gate closed({}, "secret");
  const std::string_view host = request.headers.get("Host");
  const std::string_view origin = request.headers.get("Origin");
  const bool isRead = request.method == "GET" || request.method == "HEAD";
  for (const bool opensWebSocket : {false, true}) {
    const bool isLetIn = !open.refusal(request, opensWebSocket);
    require(!isLetIn || host.find_first_of("@/?#\\ ") == std::string_view::npos);
    if (isLetIn && (opensWebSocket || !isRead) && !origin.empty()) {
      require(origin.size() >= host.size() &&
              equalInAnyCase(origin.substr(origin.size() - host.size()), host));
    }
    if (closed.refusal(request, opensWebSocket)) continue;
    require(isLetIn);
    if (opensWebSocket || (!isRead && request.path != "/login")) {
      require(!request.headers.get("Authorization").empty());
    }
  }
  const Response answer = closed.login(request);
  require(answer.status == 401 || request.body.find("token=") != std::string::npos);
}

void askForParts(const Request& request) {
  for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{1} << 40U}) {
    const auto range = parseRange(request.headers.get("Range"), size);
    require(!range || (range->first <= range->second && range->second <= size));
  }
  matchesTag(request.headers.get("If-None-Match"), "\"tag\"");
}

/// Texts of requests may come back in the headers of answers: they must not add lines to them.
void answer(const Request& request) {
  Response response = plainText(200, "");
  response.headers.add("X-Query", request.query);
  response.headers.add("X-Body", request.body);
  response.headers.add(request.body, "name");
  ResponseStream stream(std::move(response), {});
  const auto parts = stream.pending();
  require(parts.size() == 1);
  const std::string_view head(static_cast<const char*>(parts[0].iov_base), parts[0].iov_len);
  require(head.find("\r\n\r\n") == head.size() - 4);
  require(std::count(head.begin(), head.end(), '\n') <= 15);
}

/// What Alpaca makes of paths and parameters: a BadRequest, or values within their limits.
void readAlpaca(const Request& request) {
  require(setupPathNumber(request.path).value_or(0) >= 0);
  acceptsBinaryImage(request.headers.get("Accept"));
  try {
    const MemberPath path = memberPath(request.path);
    require(path.number >= 0);
    require(request.path ==
            "/api/v1/camera/" + std::to_string(path.number) + "/" + std::string(path.member));
    const Member* const member = findMember(path.member);
    if (member == nullptr) return;
    const bool isPut = request.method == "PUT";
    const Form form = Form::parse(isPut ? request.body : request.query);
    clientIds(form, isPut);
    const Arguments arguments(form, member->parameters, request.client);
    for (std::size_t n = 0; n < member->parameters.size(); ++n) {
      const Parameter& parameter = member->parameters.at(n);
      const auto text = form.exact(parameter.name);
      if (parameter.type == Type::kDouble) require(std::isfinite(arguments.real(n)));
      // Numbers mean what they say.
      if (parameter.type == Type::kInt && text->size() < 6 && text->front() != '0' &&
          !text->starts_with("-0")) {
        require(std::to_string(arguments.integer(n)) == *text);
      }
    }
  } catch (const BadRequest& refusal) {
    require(refusal.what()[0] != 0);
  }
}

/// Add the function of another part of the server here.
constexpr std::array kParts = {readForms, readPath, passGate, askForParts, answer, readAlpaca};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto request = readRequest({reinterpret_cast<const char*>(data), size});
  if (!request) return 0;
  for (const auto part : kParts) part(*request);
  return 0;
}
