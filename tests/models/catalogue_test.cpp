// SPDX-License-Identifier: MIT
// The facts of the catalogue that are easily wrong, and those that rows get by rule.
#include "models/catalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <sstream>

#include "models/models.h"
#include "seam/identity.h"
#include "support/scripted_bench.h"

namespace orvik::test {
namespace {

using identity::kProducts;

const ModelRow& row(std::uint16_t productId) { return *modelOfProduct(productId); }

std::string controlsOf(const ModelRow& model) {
  std::ostringstream text;
  for (const Orvik_CONTROL_TYPE type : model.controls) text << ' ' << int{type};
  return text.str().substr(1);
}

TEST(CatalogueTest, EveryProductBelongsToOneModelAndEveryModelToOneClass) {
  std::map<std::uint16_t, const ModelRow*> owners;
  std::set<std::wstring> keys;
  for (const ModelRow* model : allModels()) {
    EXPECT_TRUE(keys.insert(model->settingsKey).second) << model->name;
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

TEST(CatalogueTest, ControlsInTheirOrder) {
  const std::string old = "0 1 2 3 4 5 6 9 10 11 12";
  const std::string noBin = "0 1 2 3 4 5 6 8 9 10 11 12 14";
  const std::string mono = "0 1 2 5 6 8 9 10 11 12 14";
  const std::string full = "0 1 2 3 4 5 6 8 9 10 11 12 13 14";
  const std::string large = "0 1 2 3 4 5 6 8 9 10 11 12 13 15 16 17";
  const std::string cooler = " 15 16 17";
  const std::map<std::uint16_t, std::string> expected = {
      {identity::PID_T01C, old},
      {identity::PID_T02C_A, old},
      {identity::PID_T03C_A, old},
      {identity::PID_T03M_A, "0 1 2 5 6 9 10 11 12"},
      {identity::PID_T04C, large},
      {identity::PID_T05C, large},
      {identity::PID_T06C, noBin},
      {identity::PID_T06C_S, "0 1 2 3 4 5 6 8 9 7 10 11 12 14"},
      {identity::PID_T06M, mono},
      {identity::PID_T06M_S, "0 1 2 5 6 8 9 7 10 11 12 14"},
      {identity::PID_T07C, large},
      {identity::PID_T08M, "0 1 2 9 10 11 12 14"},
      {identity::PID_T09C_A, noBin},
      {identity::PID_T10C, noBin},
      {identity::PID_T10C_C, noBin + cooler},
      {identity::PID_T10M_A, mono},
      {identity::PID_T10M_COOL, mono + cooler},
      {identity::PID_T11C, full},
      {identity::PID_T11C_C, full + cooler},
      {identity::PID_T12C, full},
      {identity::PID_T12C_C, full + cooler},
      {identity::PID_T13C, full},
      {identity::PID_T13C_C, full + cooler},
      {identity::PID_T14C, full},
      {identity::PID_T15C, full}};
  for (const auto& [product, controls] : expected) {
    EXPECT_EQ(controlsOf(row(product)), controls) << row(product).name;
  }
}

TEST(CatalogueTest, ACameraBeginsWithinItsOwnLimits) {
  for (const ModelRow* model : allModels()) {
    const auto camera = createCamera(model->products.front().id);
    Orvik_CONTROL_CAPS caps{};
    for (int n = 0; camera->GetControlCaps(n, &caps); ++n) {
      if (caps.controlType == Orvik_CTL_TEMPERATURE) continue;  // nobody has read it yet
      std::int32_t value = 0;
      Orvik_BOOL automatic = Orvik_FALSE;
      ASSERT_TRUE(camera->GetControlValue(caps.controlType, &value, &automatic));
      for (const std::int32_t number : {caps.defaultValue, value}) {
        EXPECT_GE(number, caps.minValue) << model->name << ", " << caps.name;
        EXPECT_LE(number, caps.maxValue) << model->name << ", " << caps.name;
      }
    }
  }
}

TEST(CatalogueTest, TheClassMadeIsTheModels) {
  for (const ModelRow* model : allModels()) {
    const auto camera = createCamera(model->products.front().id);
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(&camera->model(), model);
    EXPECT_EQ(camera->cooler() != nullptr, model->cooled) << model->name;
    EXPECT_EQ(camera->state().hardwareBin, model->hardwareBinAtStart);
  }
}

TEST(CatalogueTest, WhatCooledVariantsShare) {
  for (const auto& [plain, cooled] : {std::pair{identity::PID_T10C, identity::PID_T10C_C},
                                      std::pair{identity::PID_T10M_C, identity::PID_T10M_COOL},
                                      std::pair{identity::PID_T11C, identity::PID_T11C_C},
                                      std::pair{identity::PID_T12C, identity::PID_T12C_C},
                                      std::pair{identity::PID_T13C, identity::PID_T13C_C}}) {
    EXPECT_EQ(row(cooled).name, std::string(row(plain).name) + " COOL");
    EXPECT_EQ(row(cooled).settingsKey, std::wstring(row(plain).settingsKey) + L"-C");
    EXPECT_EQ(row(cooled).maxWidth, row(plain).maxWidth);
    EXPECT_EQ(row(cooled).maxHeight, row(plain).maxHeight);
    EXPECT_EQ(row(cooled).bayer, row(plain).bayer);
    EXPECT_EQ(row(cooled).colour, row(plain).colour);
    EXPECT_EQ(row(cooled).gain.max, row(plain).gain.max);
    EXPECT_FALSE(row(plain).cooled);
  }
}

TEST(CatalogueTest, SingleFacts) {
  EXPECT_FALSE(row(identity::PID_T11C).hardwareBinAtStart);
  EXPECT_TRUE(row(identity::PID_T12C).hardwareBinAtStart);
  EXPECT_EQ(row(identity::PID_T11C).exposureUs.max, 2'000'000'000);
  EXPECT_EQ(row(identity::PID_T02C_A).exposureUs.max, 5'000'000);
  EXPECT_EQ(row(identity::PID_T02C_A).exposureUs.min, 64);
  EXPECT_EQ(row(identity::PID_T08M).exposureUs.min, 100);
  EXPECT_EQ(row(identity::PID_T12C).gain.max, 500);
  EXPECT_EQ(row(identity::PID_T12C).maxWidth, 1944);
  EXPECT_EQ(row(identity::PID_T09C_A).pixelSizeUm, 2.8);
  EXPECT_EQ(row(identity::PID_T12C).pixelSizeUm, 3.75);
  EXPECT_EQ(row(identity::PID_T01C).whiteBalanceBlueDefault, 50);
  EXPECT_EQ(row(identity::PID_T03C_A).whiteBalanceRedDefault, 50);
  EXPECT_EQ(row(identity::PID_T02C_A).whiteBalanceBlueDefault, 95);
  EXPECT_STREQ(row(identity::PID_T07C).name, "Vek T07C COOL");
  EXPECT_EQ(row(identity::PID_T07C).settingsKey, std::wstring(L"SOFTWARE\\T07C"));
  EXPECT_EQ(row(identity::PID_T06M_SC).settingsKey, std::wstring(L"SOFTWARE\\T06M-S"));
  std::set<std::string> reversed;
  std::set<std::string> slow;
  for (const ModelRow* model : allModels()) {
    if (model->highByteFirst) reversed.insert(model->name);
    if (model->slowAutoControl) slow.insert(model->name);
    EXPECT_EQ(model->usb3, model->bandwidthAutoSupported);
    EXPECT_EQ(model->imageTypes.rgb24, model->colour);
    EXPECT_EQ(model->bins[0], 1);
  }
  EXPECT_EQ(reversed, (std::set<std::string>{"Vek T06C", "Vek T06M", "Vek T06C-S", "Vek T06M-S",
                                             "Vek T08M"}));
  EXPECT_EQ(slow, (std::set<std::string>{"Vek T02C"}));
}

TEST(CatalogueTest, TheOpenedProductGivesTheName) {
  const std::map<std::uint16_t, std::string> names = {
      {identity::PID_T02C_A, "Vek T02C-A"},      {identity::PID_T02C_C, "Vek T02C"},
      {identity::PID_T03C_A, "Halvard T03C-A"},  {identity::PID_T03M_B, "Halvard T03M-B"},
      {identity::PID_T03M_C, "Vek T03M"},        {identity::PID_T06C_SC, "Vek T06C-SC"},
      {identity::PID_T06M_S, "Vek T06M-S"},      {identity::PID_T09C_B, "Vek T09C-B"},
      {identity::PID_T10M_A, "Vek T10M-A"},      {identity::PID_T10M_C, "Vek T10M"},
      {identity::PID_T10M_COOL, "Vek T10M COOL"}};
  for (const auto& [product, name] : names) {
    ScriptedBench bench;
    const ScriptedCamera scripted(product);
    bench.plug(scripted);
    const auto camera = createCamera(product);
    Orvik_CAMERA_INFO info{};
    camera->GetCameraProperty(&info);
    EXPECT_STREQ(info.name, row(product).name);
    ASSERT_TRUE(camera->OpenCamera(1)) << name;
    camera->GetCameraProperty(&info);
    EXPECT_EQ(info.name, name);
  }
}

TEST(CatalogueTest, OrdinalsCountAllProductsOfAModelAndNoOthers) {
  ScriptedBench bench;
  const ScriptedCamera other(identity::PID_T03C_B, 1);
  const ScriptedCamera first(identity::PID_T03M_A, 2);
  const ScriptedCamera second(identity::PID_T03M_B, 3);
  const ScriptedCamera third(identity::PID_T03M_B, 4);
  for (const ScriptedCamera* camera : {&other, &first, &second, &third}) bench.plug(*camera);
  CCameraT03M camera;
  ASSERT_TRUE(camera.OpenCamera(3));
  EXPECT_EQ(third.device->openPorts, 1);
  EXPECT_EQ(second.device->openPorts, 0);
  CCameraT03M none;
  EXPECT_FALSE(none.OpenCamera(4));
}

TEST(CatalogueTest, ReconnectingFindsTheSameCameraAtTheSecondTry) {
  ScriptedBench bench;
  const ScriptedCamera scripted(identity::PID_T01C);
  bench.plug(scripted);
  CCameraT01C camera;
  EXPECT_FALSE(camera.ReConnectCamera()) << "was never connected";
  ASSERT_TRUE(camera.OpenCamera(1));
  auto before = bench.clock->now();
  EXPECT_TRUE(camera.ReConnectCamera());
  EXPECT_EQ(bench.clock->now() - before, std::chrono::milliseconds(50));
  EXPECT_EQ(scripted.device->openPorts, 1);
  EXPECT_TRUE(camera.InitCamera());

  bench.host->plugged.clear();
  before = bench.clock->now();
  EXPECT_FALSE(camera.ReConnectCamera());
  EXPECT_EQ(bench.clock->now() - before, std::chrono::milliseconds(1050));
  EXPECT_EQ(scripted.device->openPorts, 0);
  EXPECT_FALSE(camera.StartUSBStreaming());
  bench.plug(scripted);
  EXPECT_TRUE(camera.ReConnectCamera());
  EXPECT_TRUE(camera.StartUSBStreaming());
}

}  // namespace
}  // namespace orvik::test
