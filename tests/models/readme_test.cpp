// SPDX-License-Identifier: MIT
// The tables of models in README.md and docs/hardware.md are generated from the catalogue. This
// test generates them, or checks that they are up to date.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "models/catalogue.h"

namespace orvik::test {
namespace {

constexpr const char* kBegin = "<!-- models: made by ./dev models -->\n";
constexpr const char* kEnd = "<!-- end of models -->\n";

std::string bins(const ModelRow& model) {
  std::ostringstream text;
  for (const int bin : model.bins) {
    if (bin < 1) break;
    text << (bin == 1 ? "" : " ") << bin;
  }
  return text.str();
}

/// The names of the products that differ from the name of the model.
std::string variants(const ModelRow& model) {
  std::ostringstream text;
  for (const Product& product : model.products) {
    if (product.name != nullptr) text << ", " << product.name;
  }
  return text.str();
}

std::string exposure(std::int32_t us) {
  std::ostringstream text;
  if (us < 1000) {
    text << us << " us";
  } else {
    text << us / 1'000'000 << " s";
  }
  return text.str();
}

std::string table() {
  constexpr const char* kMosaics[] = {"RG", "BG", "GR", "GB"};
  std::ostringstream text;
  text << "| Camera | Pixels | Pitch | Colour | Bits | Bins | Exposure | USB | Cooled |\n"
       << "|---|---|---|---|---|---|---|---|---|\n";
  for (const ModelRow* model : allModels()) {
    text << "| " << model->name << variants(*model) << " | " << model->maxWidth << " x "
         << model->maxHeight << " | " << model->pixelSizeUm << " um | "
         << (model->colour ? kMosaics[model->bayer] : "mono") << " | "
         << (model->imageTypes.raw16 ? "8, 16" : "8") << " | " << bins(*model) << " | "
         << exposure(model->exposureUs.min) << " to " << exposure(model->exposureUs.max) << " | "
         << (model->usb3 ? "3" : "2") << " | " << (model->cooled ? "yes" : "") << " |\n";
  }
  return text.str();
}

std::string range(const ControlRange& range) {
  std::ostringstream text;
  text << range.min << " to " << range.max << " (" << range.defaultValue << ")";
  return text.str();
}

std::string limits() {
  std::ostringstream text;
  text << "| Model | Gain | Black level | Exposure, us | Red, blue | Hardware bin | High speed | "
          "Over-clock | Controls |\n|---|---|---|---|---|---|---|---|---|\n";
  for (const ModelRow* model : allModels()) {
    const auto offers = [model](Orvik_CONTROL_TYPE type) { return model->controls.has(type); };
    text << "| " << model->settingsName << " | " << range(model->gain) << " | "
         << (offers(Orvik_CTL_BRIGHTNESS) ? range(model->brightness) : "") << " | "
         << range(model->exposureUs) << " | ";
    if (model->colour) {
      text << model->whiteBalanceRedDefault << ", " << model->whiteBalanceBlueDefault
           << (model->whiteBalanceOnHost ? " on the host" : "");
    }
    text << " | " << (offers(Orvik_CTL_HARDWARE_BIN) ? "yes" : "") << " | "
         << (offers(Orvik_CTL_HIGH_SPEED_MODE) ? "yes" : "") << " | "
         << (offers(Orvik_CTL_OVERCLK) ? "yes" : "") << " | " << model->controls.size() << " |\n";
  }
  return text.str();
}

void holdAgainst(const char* path, const std::string& table) {
  std::ifstream file(path);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const auto begin = text.find(kBegin);
  const auto end = text.find(kEnd);
  ASSERT_NE(begin, std::string::npos);
  ASSERT_LT(begin, end);
  const auto from = begin + std::string(kBegin).size();
  if (std::getenv("ORVIK_WRITE_FILES") != nullptr) {
    std::ofstream(path) << text.substr(0, from) << table << text.substr(end);
    return;
  }
  EXPECT_EQ(text.substr(from, end - from), table) << "`./dev models` brings it up to date";
}

TEST(ReadmeTest, TheTablesAreTheCatalogue) {
  holdAgainst(ORVIK_README, table());
  holdAgainst(ORVIK_HARDWARE, limits());
}

}  // namespace
}  // namespace orvik::test
