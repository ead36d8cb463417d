// SPDX-License-Identifier: MIT
// The table of models in README.md is made from the catalogue; this test makes it, or finds it
// out of date.
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

/// The names of the products that are not called like the model.
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

TEST(ReadmeTest, ItsTableIsTheCatalogue) {
  std::ifstream file(ORVIK_README);
  const std::string readme{std::istreambuf_iterator<char>(file), {}};
  const auto begin = readme.find(kBegin);
  const auto end = readme.find(kEnd);
  ASSERT_NE(begin, std::string::npos);
  ASSERT_LT(begin, end);
  const auto from = begin + std::string(kBegin).size();
  if (std::getenv("ORVIK_WRITE_FILES") != nullptr) {
    std::ofstream(ORVIK_README) << readme.substr(0, from) << table() << readme.substr(end);
    return;
  }
  EXPECT_EQ(readme.substr(from, end - from), table())
      << "`./dev models` brings README.md up to date";
}

}  // namespace
}  // namespace orvik::test
