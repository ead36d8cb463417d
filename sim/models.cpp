// SPDX-License-Identifier: MIT
#include "sim/models.h"

#include <array>

#include "seam/identity.h"

namespace orvik::sim {
namespace {

constexpr std::array kModels = {
    Model{
        .code = "T15C",
        .displayName = "Vek T15C",
        .productId = identity::PID_T15C,
        .bulkEndpoint = 0x81,
        .sensor = {.width = 1304, .height = 976, .mosaic = Mosaic::kRg},
        .pixel = {.fullWell = 14700, .fullScale = 14000, .readNoise = 2.2, .darkCurrent = 0.1},
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
