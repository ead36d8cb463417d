// SPDX-License-Identifier: MIT
#include "models/catalogue.h"

#include <algorithm>
#include <array>

#include "models/models.h"

namespace orvik {
namespace {

template <class Model>
std::unique_ptr<Camera> create() {
  return std::make_unique<Model>();
}

// Two lists in the same order.
#define ORVIK_ROW(code, Family) &code::kRow,
#define ORVIK_CREATE(code, Family) &create<code>,
constexpr std::array kRows = {ORVIK_MODELS(ORVIK_ROW)};
constexpr std::array kCreators = {ORVIK_MODELS(ORVIK_CREATE)};
#undef ORVIK_ROW
#undef ORVIK_CREATE

auto findModel(std::uint16_t productId) {
  return std::ranges::find_if(
      kRows, [productId](const ModelRow* row) { return row->findProduct(productId) != nullptr; });
}

}  // namespace

std::span<const ModelRow* const> allModels() { return kRows; }

const ModelRow* modelOfProduct(std::uint16_t productId) {
  const auto* model = findModel(productId);
  return model == kRows.end() ? nullptr : *model;
}

const char* productName(std::uint16_t productId) {
  const ModelRow* const model = modelOfProduct(productId);
  if (model == nullptr) return "";
  const char* const ownName = model->findProduct(productId)->name;
  return ownName != nullptr ? ownName : model->name;
}

std::unique_ptr<Camera> createCamera(std::uint16_t productId) {
  const auto* model = findModel(productId);
  if (model == kRows.end()) return nullptr;
  return kCreators[static_cast<std::size_t>(model - kRows.begin())]();
}

}  // namespace orvik
