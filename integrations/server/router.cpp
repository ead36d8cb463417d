// SPDX-License-Identifier: MIT
#include "integrations/server/router.h"

#include <fcntl.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "integrations/server/http/assets.h"
#include "integrations/server/http/file_response.h"
#include "integrations/server/http/request_target.h"

namespace orvik::server {
namespace {

constexpr std::string_view kFiles = "/files/";

/// The built-in file that a path shows; "" for none.
std::string_view assetNameOf(std::string_view path) {
  constexpr std::string_view kCamera = "/camera/";
  constexpr std::string_view kPage = "/page/";
  if (path == "/") return "index.html";
  if (path == "/login") return "login.html";
  if (path == "/favicon.ico") return "icon.svg";
  if (path.starts_with(kPage)) return path.substr(kPage.size());
  if (!path.starts_with(kCamera)) return "";
  const std::string_view number = path.substr(kCamera.size());
  const bool isNumber = !number.empty() && std::ranges::all_of(number, [](char digit) {
    return digit >= '0' && digit <= '9';
  });
  return isNumber ? "camera.html" : "";
}

}  // namespace

Router::Router(AlpacaApi& alpaca, Gate gate, std::shared_ptr<CaptureFolder> folder,
               std::function<Response()> listCameras)
    : alpaca_(alpaca),
      gate_(std::move(gate)),
      folder_(std::move(folder)),
      listCameras_(std::move(listCameras)) {}

void Router::operator()(const Request& request, Reply reply) const {
  if (AlpacaApi::owns(request.path)) return alpaca_.handle(request, std::move(reply));
  reply(page(request));
}

Response Router::page(const Request& request) const {
  if (request.method == "PUT" && request.path == "/login") return gate_.login(request);
  if (request.method != "GET" && request.method != "HEAD") {
    return plainText(405, "There is nothing to change here.\n");
  }
  if (request.path == "/cameras") return listCameras_();
  if (request.path.starts_with(kFiles)) return download(request);
  const Asset* const asset = findAsset(embeddedAssets(), assetNameOf(request.path));
  if (asset == nullptr) return plainText(404, "There is no such page.\n");
  return assetResponse(request, *asset);
}

Response Router::download(const Request& request) const {
  const auto name = decodedPath(std::string_view(request.path).substr(kFiles.size()));
  const auto path = name ? folder_->find(*name) : std::nullopt;
  if (path) {
    const FileDescriptor folder(
        ::open(path->parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    FileDescriptor file = openInFolder(folder.number(), *name);
    if (file) return fileResponse(request, std::move(file), *name);
  }
  return plainText(404, "There is no such file.\n");
}

}  // namespace orvik::server
