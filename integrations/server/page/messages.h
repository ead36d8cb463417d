// SPDX-License-Identifier: MIT
// What the server tells a browser: docs/server_messages.md.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "integrations/server/camera/guide_wiring.h"
#include "integrations/server/camera/served_camera.h"
#include "integrations/server/capture/capture_desk.h"
#include "integrations/server/capture/capture_folder.h"
#include "integrations/server/live/live_viewer.h"

namespace orvik::server::message {

struct Hello {
  std::string you;
  CameraIdentity camera;
  std::shared_ptr<const ServedCamera::Description> description;  ///< null if it is not open
  imaging::Stretch stretch;
  std::vector<TemperatureSample> temperatures;
  GuideWiring wiring = kUsualWiring;
};
std::string hello(const Hello& hello);
std::string status(const CameraStatus& status, int viewers);
std::string stretch(const imaging::Stretch& stretch);
std::string statistics(const FrameReport& report, const std::optional<PixelValue>& pixel);
std::string stars(const std::vector<imaging::Star>& stars, std::span<const FocusSample> course);
std::string temperature(const TemperatureSample& sample);
std::string captures(const CaptureState& state);
std::string files(const CaptureFolder::Listing& listing);
std::string done(std::int64_t id);
std::string failed(std::optional<std::int64_t> id, std::string_view text);
/// The 32 bytes before a JPEG.
std::string pictureHead(const Picture& picture);

/// The answer to GET /cameras.
std::string cameras(const std::vector<std::shared_ptr<ServedCamera>>& cameras);

}  // namespace orvik::server::message
