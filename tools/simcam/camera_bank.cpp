// SPDX-License-Identifier: MIT
#include "tools/simcam/camera_bank.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "sim/plug_options.h"

namespace orvik::simcam {
namespace {

std::string busIdOf(int number) { return "1-" + std::to_string(number); }

std::string modelCodes() {
  std::string codes;
  for (const sim::Model& model : sim::models()) codes.append(" ").append(model.code);
  return codes;
}

}  // namespace

CameraBank::Plugging CameraBank::plug(std::string_view description) {
  const std::size_t comma = description.find(',');
  const std::string_view code = description.substr(0, comma);
  const sim::Model* const model = sim::findModel(code);
  if (model == nullptr) {
    return {"",
            std::string("There is no model '").append(code).append("'. Models:") + modelCodes()};
  }
  sim::CameraOptions options;
  std::string refusal = sim::parsePlugOptions(defaults_, options);
  if (refusal.empty() && comma != std::string_view::npos) {
    refusal = sim::parsePlugOptions(description.substr(comma + 1), options);
  }
  if (!refusal.empty()) return {"", std::move(refusal)};

  const std::lock_guard lock(mutex_);
  const int id = host_.plug(*model, options);
  if (id == 0) return {"", "The virtual bus has no free port."};
  int number = 1;
  while (idOfNumber_.contains(number)) ++number;
  idOfNumber_.emplace(number, id);
  return {busIdOf(number), ""};
}

bool CameraBank::unplug(std::string_view busId) {
  int id = 0;
  {
    const std::lock_guard lock(mutex_);
    const auto found = std::ranges::find_if(
        idOfNumber_, [&](const auto& each) { return busIdOf(each.first) == busId; });
    if (found == idOfNumber_.end()) return false;
    id = found->second;
    idOfNumber_.erase(found);
  }
  return host_.unplug(id);
}

std::vector<CameraBank::Line> CameraBank::list() {
  const std::vector<sim::PluggedCamera> cameras = host_.cameras();
  const std::lock_guard lock(mutex_);
  std::vector<Line> lines;
  for (const auto& [number, id] : idOfNumber_) {
    const auto found = std::ranges::find(cameras, id, &sim::PluggedCamera::id);
    if (found == cameras.end()) continue;
    char serial[9];
    std::snprintf(serial, sizeof serial, "%08X", found->serial);
    lines.push_back({busIdOf(number), found->model->code, serial, found->usb3Port});
  }
  return lines;
}

std::vector<Export> CameraBank::exports() {
  const std::vector<sim::PluggedCamera> cameras = host_.cameras();
  const std::lock_guard lock(mutex_);
  std::vector<Export> exported;
  for (const auto& [number, id] : idOfNumber_) {
    const auto found = std::ranges::find(cameras, id, &sim::PluggedCamera::id);
    if (found != cameras.end()) exported.push_back({busIdOf(number), found->info});
  }
  return exported;
}

}  // namespace orvik::simcam
