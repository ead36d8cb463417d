// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "integrations/server/alpaca/answer.h"

namespace orvik::server {
namespace {

/// An image of random samples, short and long ones.
template <typename Sample>
std::shared_ptr<AlpacaImage> randomImage(int numX, int numY) {
  static ImageRoom room;
  auto image = room.make(numX, numY, sizeof(Sample), {});
  std::minstd_rand random(11);
  const auto count = static_cast<std::size_t>(numX) * static_cast<std::size_t>(numY);
  for (std::size_t n = 0; n < count; ++n) {
    image->as<Sample>()[n] = static_cast<Sample>(random() % 100'000 >> random() % 16);
  }
  return image;
}

std::string textOf(Response response) {
  auto& source = *std::get<std::shared_ptr<BodySource>>(response.body);
  std::string text;
  for (;;) {
    std::string chunk;
    source.next(chunk);
    EXPECT_LE(chunk.size(), 80'000U);
    if (chunk.empty()) return text;
    text += chunk;
  }
}

template <typename Sample>
void expectJson(int numX, int numY) {
  const std::shared_ptr<AlpacaImage> image = randomImage<Sample>(numX, numY);
  Json wanted{{"Type", 2}, {"Rank", 2}, {"Value", Json::array()}};
  for (int x = 0; x < numX; ++x) {
    Json column = Json::array();
    for (int y = 0; y < numY; ++y) column.push_back(image->as<Sample>()[x * numY + y]);
    wanted["Value"].push_back(column);
  }
  wanted["ClientTransactionID"] = 4294967295U;
  wanted["ServerTransactionID"] = 9;
  wanted["ErrorNumber"] = 0;
  wanted["ErrorMessage"] = "";
  // Not EXPECT_EQ: it would print megabytes.
  EXPECT_TRUE(textOf(jsonImage(image, {4294967295U, 9})) == wanted.dump()) << numX << " x " << numY;
}

TEST(ImageAnswer, JsonIsThatOfTheWholeImageWhereverItsPartsEnd) {
  for (const auto& [numX, numY] :
       {std::pair{1, 1}, {5, 1}, {1, 7}, {400, 300}, {3, 40'000}, {40'000, 3}, {77'777, 1}}) {
    expectJson<std::uint16_t>(numX, numY);
    expectJson<std::uint8_t>(numX, numY);
  }
}

TEST(ImageAnswer, ARecalledImageIsLetGoAndItsTextIsNotCompleted) {
  ImageRoom room(std::chrono::milliseconds(1));
  auto image = room.make(400, 300, 2, {});
  const Response response = jsonImage(std::move(image), {});
  auto& source = *std::get<std::shared_ptr<BodySource>>(response.body);
  std::string chunk;
  source.next(chunk);
  EXPECT_NE(room.make(1, 1, 2, {}), nullptr);
  EXPECT_THROW(source.next(chunk), std::exception);
}

TEST(ImageAnswer, TheBinaryFormIsAskedForByName) {
  for (const char* accept :
       {"application/imagebytes", "APPLICATION/ImageBytes", "*/*;q=0.1,application/imagebytes",
        "application/json , application/imagebytes ; q=0.5 ;x=y", "application/imagebytes;q=1.0"}) {
    EXPECT_TRUE(acceptsBinaryImage(accept)) << accept;
  }
  for (const char* accept :
       {"", "*/*", "application/*", "application/json", "application/imagebytesx",
        "xapplication/imagebytes", "application/imagebytes;q=0",
        ",;,=", "application/imagebytes; q=0.000", "text/html;x=application/imagebytes"}) {
    EXPECT_FALSE(acceptsBinaryImage(accept)) << accept;
  }
}

}  // namespace
}  // namespace orvik::server
