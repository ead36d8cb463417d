// SPDX-License-Identifier: MIT
#include "imaging/stars/brightest_object.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/imaging/test_frame.h"

namespace orvik::imaging {
namespace {

using test::TestImage;

/// Background with noise, as part of the depth.
void addSky(TestImage& image, std::mt19937& random) {
  std::normal_distribution<double> sky(0.04, 0.008);
  image.fill([&](int, int) { return sky(random) * image.depth(); });
}

void addLight(TestImage& image, int x, int y, double part) {
  for (int channel = 0; channel < image.channels(); ++channel) {
    image.set(x, y, image.at(x, y, channel) + part * image.depth(), channel);
  }
}

void addStar(TestImage& image, double x, double y, double peak, double sigma) {
  for (int row = 0; row < image.size().height; ++row) {
    for (int column = 0; column < image.size().width; ++column) {
      const double r2 = (column + 0.5 - x) * (column + 0.5 - x) + (row + 0.5 - y) * (row + 0.5 - y);
      if (r2 < 40 * sigma * sigma) {
        addLight(image, column, row, peak * std::exp(-r2 / (2 * sigma * sigma)));
      }
    }
  }
}

void addDisc(TestImage& image, double x, double y, double radius, double part) {
  for (int row = 0; row < image.size().height; ++row) {
    for (int column = 0; column < image.size().width; ++column) {
      if (std::hypot(column + 0.5 - x, row + 0.5 - y) < radius) addLight(image, column, row, part);
    }
  }
}

struct Kind {
  Size size;
  IMG_TYPE type;
  std::optional<BayerPattern> mosaic;
};
constexpr std::array<Kind, 4> kKinds = {{{{320, 240}, Orvik_IMG_RAW8, BAYER_RG},
                                         {{640, 480}, Orvik_IMG_RAW16, std::nullopt},
                                         {{1304, 976}, Orvik_IMG_Y8, std::nullopt},
                                         {{320, 240}, Orvik_IMG_RGB24, std::nullopt}}};

TEST(BrightestObject, FindsPlanetsAndStarsAmongFainterOnesAndHotPixels) {
  std::mt19937 random(5);
  for (const Kind& kind : kKinds) {
    for (const double radius : {0.0, 9.0, 80.0}) {  // a star, and discs
      TestImage image(kind.size, kind.type, kind.mosaic);
      addSky(image, random);
      const double x = 0.6 * kind.size.width + 1.3;
      const double y = 0.45 * kind.size.height + 2.8;
      if (radius == 0) addStar(image, x, y, 0.6, 1.3);
      if (radius > 0) addDisc(image, x, y, radius, 0.4);
      addStar(image, 30, 20, 0.12, 1.3);
      for (int i = 0; i < 40; ++i) {
        addLight(image, static_cast<int>(random() % 300), static_cast<int>(random() % 230), 1);
      }
      BrightestObject object;
      const auto place = object.find(image.source());
      ASSERT_TRUE(place) << image.size().width << " radius " << radius;
      EXPECT_NEAR(place->x, x, 2.5) << image.size().width << " radius " << radius;
      EXPECT_NEAR(place->y, y, 2.5) << image.size().width << " radius " << radius;
    }
  }
}

TEST(BrightestObject, FindsNothingInNoiseAndHotPixels) {
  std::mt19937 random(6);
  for (const Kind& kind : kKinds) {
    TestImage image(kind.size, kind.type, kind.mosaic);
    BrightestObject object;
    EXPECT_FALSE(object.find(image.source())) << "black";
    for (int i = 0; i < 10; ++i) {
      addSky(image, random);
      for (int hot = 0; hot < 3 * i; ++hot) {
        addLight(image, 12 * hot + static_cast<int>(random() % 5), 12 * hot % 200, 0.9);
      }
      const auto place = object.find(image.source());
      EXPECT_FALSE(place) << image.size().width << ", " << i << ": " << place->x << ", "
                          << place->y;
    }
  }
  TestImage tiny({4, 2}, Orvik_IMG_RAW8);
  BrightestObject().find(tiny.source());
}

}  // namespace
}  // namespace orvik::imaging
