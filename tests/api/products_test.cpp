// SPDX-License-Identifier: MIT
// Compares the list of products with the list of virtual cameras, which is maintained separately.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "orvik/orvik_service.h"
#include "sim/models.h"

namespace orvik::test {
namespace {

TEST(ProductsTest, AreThoseOfTheVirtualCameras) {
  std::map<int, Orvik_PRODUCT> products;
  Orvik_PRODUCT product{};
  for (int n = 0; OrvikGetProduct(n, &product) == Orvik_OK; ++n) {
    EXPECT_EQ(product.vendorId, 0x4F56);
    EXPECT_TRUE(products.emplace(product.productId, product).second) << product.name;
  }
  EXPECT_EQ(products.size(), sim::models().size());
  for (const sim::Model& model : sim::models()) {
    const Orvik_PRODUCT& found = products[model.productId];
    EXPECT_STREQ(found.name, model.displayName);
    EXPECT_EQ(found.usb3Camera == Orvik_TRUE, model.superSpeed()) << model.code;
  }
  EXPECT_EQ(products[0x0580].largestFrameBytes, 7380 * 4928 * 2);
  EXPECT_EQ(products[0x0100].largestFrameBytes, 640 * 480) << "8 bits only";
}

TEST(ProductsTest, EndSomewhere) {
  Orvik_PRODUCT product{};
  product.vendorId = 77;
  const auto count = static_cast<int>(sim::models().size());
  for (const int position : {-1, count, 1 << 30}) {
    EXPECT_EQ(OrvikGetProduct(position, &product), Orvik_ERROR_ARGUMENT);
  }
  EXPECT_EQ(OrvikGetProduct(0, nullptr), Orvik_ERROR_ARGUMENT);
  EXPECT_EQ(product.vendorId, 77) << "a call that fails writes nothing";
}

}  // namespace
}  // namespace orvik::test
