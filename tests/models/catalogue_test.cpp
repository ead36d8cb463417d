// SPDX-License-Identifier: MIT
// Tests the rules that the rows of the catalogue follow, and the cameras made from them.
#include "models/catalogue.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "models/models.h"
#include "seam/identity.h"
#include "support/scripted_bench.h"

namespace orvik::test {
namespace {

using identity::kProducts;

TEST(CatalogueTest, EveryProductBelongsToOneModelAndEveryModelToOneClass) {
  std::map<std::uint16_t, const ModelRow*> owners;
  std::set<std::string> keys;
  for (const ModelRow* model : allModels()) {
    EXPECT_TRUE(keys.insert(model->settingsName).second) << model->name;
    std::set<int> classes;
    for (const Product& product : model->products) {
      if (product.id == 0) continue;
      EXPECT_TRUE(owners.emplace(product.id, model).second) << std::hex << product.id;
      classes.insert(identity::classOfProduct(product.id));
    }
    EXPECT_EQ(classes.size(), 1U) << model->name;
  }
  EXPECT_EQ(owners.size(), kProducts.size());
  for (const auto& product : kProducts) {
    EXPECT_EQ(owners.count(product.productId), 1U) << std::hex << product.productId;
    EXPECT_EQ(modelOfProduct(product.productId), owners[product.productId]);
  }
  EXPECT_EQ(modelOfProduct(0), nullptr);
  EXPECT_EQ(modelOfProduct(0x7777), nullptr);
  EXPECT_EQ(createCamera(0x7777), nullptr);
}

TEST(CatalogueTest, ReconnectingFindsTheSameCameraAtTheSecondTry) {
  ScriptedBench bench;
  const ScriptedCamera scripted(identity::PID_T01C);
  bench.plug(scripted);
  T01C camera;
  EXPECT_FALSE(camera.reconnect()) << "was never connected";
  ASSERT_TRUE(camera.open(1));
  auto before = bench.clock->now();
  EXPECT_TRUE(camera.reconnect());
  EXPECT_EQ(bench.clock->now() - before, std::chrono::milliseconds(50));
  EXPECT_EQ(scripted.device->openPorts, 1);
  EXPECT_TRUE(camera.initialise());

  const auto answers = scripted.device->control;
  scripted.device->control = [](const auto&) {
    return testing::Answer{.delay = testing::Answer::kNever};
  };
  for (int n = 0; n < 4; ++n) EXPECT_FALSE(camera.link().writeFpga(13, 128));
  scripted.device->control = answers;
  EXPECT_TRUE(camera.reconnect());
  EXPECT_TRUE(camera.link().writeFpga(13, 128)) << "the silence was the other device's";

  camera.close();
  scripted.device->claimable = false;
  EXPECT_FALSE(camera.open(1));
  EXPECT_EQ(scripted.device->openPorts, 0) << "what another program has is let go of";
  scripted.device->claimable = true;
  EXPECT_TRUE(camera.open(1));
  bench.host->plugged.clear();
  before = bench.clock->now();
  EXPECT_FALSE(camera.reconnect());
  EXPECT_EQ(bench.clock->now() - before, std::chrono::milliseconds(1050));
  EXPECT_EQ(scripted.device->openPorts, 0);
  EXPECT_FALSE(camera.link().send(VendorRequest::kStartStreaming));
  bench.plug(scripted);
  EXPECT_TRUE(camera.reconnect());
  EXPECT_TRUE(camera.link().send(VendorRequest::kStartStreaming));
}

}  // namespace
}  // namespace orvik::test
