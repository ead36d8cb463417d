// SPDX-License-Identifier: MIT
#include "sim/models.h"

#include <array>

#include "seam/identity.h"

namespace orvik::sim {
namespace {

// Two kinds of camera around one sensor of 1304 x 976 pixels.
constexpr PixelPhysics kPixel1304 = {
    .fullWell = 14700, .fullScale = 14000, .readNoise = 2.2, .darkCurrent = 0.1};

constexpr std::array kModels = {
    Model{
        .code = "T15C",
        .displayName = "Vek T15C",
        .productId = identity::PID_T15C,
        .bulkEndpoint = 0x81,
        .sensor = {.width = 1304, .height = 976, .mosaic = Mosaic::kRg},
        .pixel = kPixel1304,
    },
    Model{
        .code = "T13C_C",
        .displayName = "Vek T13C COOL",
        .productId = identity::PID_T13C_C,
        .bulkEndpoint = 0x81,
        .sensor = {.width = 1304, .height = 976, .mosaic = Mosaic::kGr},
        .pixel = kPixel1304,
        .cooled = true,
    },
};

}  // namespace

std::span<const Model> models() { return kModels; }

const Model* findModel(std::string_view code) {
  for (const Model& model : kModels) {
    if (code == model.code) return &model;
  }
  return nullptr;
}

}  // namespace orvik::sim
