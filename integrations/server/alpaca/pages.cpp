// SPDX-License-Identifier: MIT
// What the interface tells about the server: management and setup pages.
#include <string>
#include <string_view>

#include "integrations/server/alpaca/api.h"
#include "integrations/server/alpaca/route.h"
#include "integrations/server/alpaca/unique_id.h"

namespace orvik::server {
namespace {

/// Text for HTML, also within quotation marks.
std::string escaped(std::string_view text) {
  std::string html;
  for (const char c : text) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      default:
        html += c;
    }
  }
  return html;
}

Response htmlPage(std::string_view title, std::string_view head, std::string_view body) {
  Response response;
  response.contentType = "text/html; charset=utf-8";
  response.body =
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
      "<meta name=\"viewport\" content=\"width=device-width\"><title>" +
      escaped(title) + "</title>" + std::string(head) + "</head>\n<body><h1>" + escaped(title) +
      "</h1>\n" + std::string(body) + "</body></html>\n";
  return response;
}

std::string link(const std::string& target, std::string_view text) {
  return "<a href=\"" + target + "\">" + escaped(text) + "</a>";
}

}  // namespace

Response AlpacaApi::management(const Request& request, Transaction transaction) const {
  if (request.method != "GET") throw BadRequest("This path has no " + request.method + ".");
  if (request.path == "/management/apiversions") {
    return valueAnswer(Json::array({1}), transaction);
  }
  if (request.path == "/management/v1/description") {
    return valueAnswer({{"ServerName", name_},
                        {"Manufacturer", "Orvik"},
                        {"ManufacturerVersion", OrvikGetVersion()},
                        {"Location", location_}},
                       transaction);
  }
  if (request.path == "/management/v1/configureddevices") {
    Json devices = Json::array();
    for (const auto& camera : fleet_.cameras()) {
      const CameraIdentity identity = camera->identity();
      devices.push_back({{"DeviceName", identity.label},
                         {"DeviceType", "Camera"},
                         {"DeviceNumber", identity.number},
                         {"UniqueID", uniqueId(identity.key)}});
    }
    return valueAnswer(std::move(devices), transaction);
  }
  throw BadRequest("This is no path of the Alpaca interface.");
}

Response AlpacaApi::setup(const Request& request) const {
  if (request.method != "GET" && request.method != "HEAD") {
    throw BadRequest("This path has no " + request.method + ".");
  }
  if (request.path == "/setup") {
    std::string body = "<p>Orvik " + std::string(OrvikGetVersion()) + ". The cameras of this " +
                       link("/", "server") + ":</p>\n<ul>\n";
    for (const auto& camera : fleet_.cameras()) {
      const CameraIdentity identity = camera->identity();
      body +=
          "<li>" + link("/camera/" + std::to_string(identity.number), identity.label) + "</li>\n";
    }
    return htmlPage(name_, "", body + "</ul>\n");
  }
  const auto number = setupPathNumber(request.path);
  const auto camera = number ? fleet_.camera(*number) : nullptr;
  if (!camera) return plainText(403, "There is no such setup page.");
  const std::string page = "/camera/" + std::to_string(*number);
  return htmlPage(camera->identity().label,
                  R"(<meta http-equiv="refresh" content="0; url=)" + page + R"(">)",
                  "<p>" + link(page, "Settings and live view of the camera") + "</p>\n");
}

}  // namespace orvik::server
