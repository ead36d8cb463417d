// SPDX-License-Identifier: MIT
#include "models/factory.h"

#include <algorithm>
#include <array>

#include "models/t13c_c.h"
#include "models/t15c.h"

namespace orvik {
namespace {

struct Model {
  const ModelRow* row;
  std::unique_ptr<CCameraBase> (*create)();
};

template <class Camera>
std::unique_ptr<CCameraBase> create() {
  return std::make_unique<Camera>();
}

template <class Camera>
constexpr Model entry() {
  return {&Camera::kRow, &create<Camera>};
}

constexpr std::array kModels = {
    entry<CCameraT13C_C>(),
    entry<CCameraT15C>(),
};

const Model* findModel(std::uint16_t productId) {
  const auto* found = std::ranges::find_if(kModels, [productId](const Model& model) {
    return std::ranges::count(model.row->productIds, productId) != 0;
  });
  return found == kModels.end() ? nullptr : found;
}

}  // namespace

const ModelRow* modelOfProduct(std::uint16_t productId) {
  const Model* model = findModel(productId);
  return model == nullptr ? nullptr : model->row;
}

std::unique_ptr<CCameraBase> createCamera(std::uint16_t productId) {
  const Model* model = findModel(productId);
  return model == nullptr ? nullptr : model->create();
}

}  // namespace orvik
