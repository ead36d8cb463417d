// SPDX-License-Identifier: MIT
// The list of products, for programs that look for devices themselves.
#include <cstdio>

#include "models/catalogue.h"
#include "orvik/orvik_service.h"
#include "seam/identity.h"

using orvik::ModelRow;
using orvik::Product;

namespace {

Orvik_PRODUCT describe(const ModelRow& model, const Product& product) {
  Orvik_PRODUCT record{};
  std::snprintf(record.name, sizeof record.name, "%s", orvik::productName(product.id));
  record.vendorId = orvik::identity::kVendorId;
  record.productId = product.id;
  record.largestFrameBytes = static_cast<std::int32_t>(model.largestFrameBytes());
  record.usb3Camera = model.usb3 ? Orvik_TRUE : Orvik_FALSE;
  return record;
}

}  // namespace

Orvik_ERROR_CODE OrvikGetProduct(int position, Orvik_PRODUCT* product) {
  if (position < 0 || product == nullptr) return Orvik_ERROR_ARGUMENT;
  for (const ModelRow* model : orvik::allModels()) {
    for (const Product& candidate : model->products) {
      if (candidate.id == 0) continue;
      if (position-- > 0) continue;
      *product = describe(*model, candidate);
      return Orvik_OK;
    }
  }
  return Orvik_ERROR_ARGUMENT;
}
