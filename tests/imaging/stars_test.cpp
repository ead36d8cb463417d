// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <random>

#include "gtest/gtest.h"
#include "imaging/stars/star_finder.h"
#include "imaging/test_frame.h"

namespace orvik::imaging {
namespace {

using test::TestImage;

/// A picture that is put together from light, and then gets noise.
class Sky {
 public:
  explicit Sky(Size size, double background)
      : size_(size), light_(static_cast<std::size_t>(size.width * size.height), background) {}

  double& at(int x, int y) { return light_[static_cast<std::size_t>(y * size_.width + x)]; }

  /// A Gaussian, integrated over the area of each pixel. The height is that of the middle.
  void star(double x, double y, double sigma, double height) {
    const auto part = [&](int pixel, double middle) {
      const double low = (pixel - 0.5 - middle) / (sigma * std::sqrt(2.0));
      const double high = (pixel + 0.5 - middle) / (sigma * std::sqrt(2.0));
      return sigma * std::sqrt(M_PI / 2) * (std::erf(high) - std::erf(low));
    };
    for (int py = 0; py < size_.height; ++py) {
      for (int px = 0; px < size_.width; ++px) at(px, py) += height * part(px, x) * part(py, y);
    }
  }
  void disc(double x, double y, double inner, double outer, double height) {
    for (int py = 0; py < size_.height; ++py) {
      for (int px = 0; px < size_.width; ++px) {
        const double r = std::hypot(px - x, py - y);
        if (r <= outer && r >= inner) at(px, py) += height;
      }
    }
  }
  TestImage image(IMG_TYPE type, std::optional<BayerPattern> mosaic, double noise, unsigned seed) {
    TestImage image(size_, type, mosaic);
    std::mt19937 random(seed);
    std::normal_distribution<double> normal(0, noise);
    image.fill([&](int x, int y) { return at(x, y) + normal(random); });
    return image;
  }

 private:
  Size size_;
  std::vector<double> light_;
};

struct Kind {
  IMG_TYPE type;
  std::optional<BayerPattern> mosaic;
  double unit;  // of brightness
};
const std::vector<Kind> kKinds = {{Orvik_IMG_RAW8, {}, 1},
                                  {Orvik_IMG_RAW16, {}, 200},
                                  {Orvik_IMG_RAW8, BAYER_RG, 1},
                                  {Orvik_IMG_RAW16, BAYER_GB, 200},
                                  {Orvik_IMG_RGB24, {}, 1}};

TEST(Stars, AreMeasuredInEveryTypeOfImage) {
  struct Wanted {
    double x, y, sigma, height;
  };
  const std::vector<Wanted> wanted = {{60.3, 50.8, 2.0, 180},
                                      {200.5, 61.2, 3.0, 120},
                                      {130.0, 140.0, 1.5, 110},
                                      {251.7, 150.1, 5.0, 90}};
  for (const Kind& kind : kKinds) {
    Sky sky({320, 200}, 20 * kind.unit);
    for (const Wanted& one : wanted) sky.star(one.x, one.y, one.sigma, one.height * kind.unit);
    TestImage image = sky.image(kind.type, kind.mosaic, 1.0 * kind.unit, 5);
    StarFinder finder;
    const auto& stars = finder.find(image.source());
    ASSERT_EQ(stars.size(), wanted.size()) << "type " << kind.type;
    EXPECT_TRUE(std::is_sorted(stars.begin(), stars.end(),
                               [](const Star& a, const Star& b) { return a.flux > b.flux; }));
    for (const Wanted& one : wanted) {
      const auto near = std::find_if(stars.begin(), stars.end(), [&](const Star& star) {
        return std::hypot(star.x - one.x, star.y - one.y) < 0.35;
      });
      ASSERT_NE(near, stars.end()) << one.x << " type " << kind.type;
      // A pixel blurs what it integrates, a cell of a mosaic more so.
      const double width = kind.mosaic ? 2.0 : 1.0;
      const double blurred = std::sqrt(one.sigma * one.sigma + width * width / 12);
      EXPECT_NEAR(near->fwhm / (2.3548 * blurred), 1, 0.08) << one.sigma << " type " << kind.type;
      EXPECT_NEAR(near->hfr / (1.1774 * blurred), 1, 0.08) << one.sigma << " type " << kind.type;
      EXPECT_NEAR(near->peak / kind.unit, 20 + one.height, 0.2 * one.height);
      EXPECT_NEAR(near->background / kind.unit, 20, 1);
      EXPECT_FALSE(near->saturated);
    }
  }
}

TEST(Stars, DefocusedAndSaturatedOnesAreFoundToo) {
  Sky sky({320, 240}, 10);
  sky.disc(100, 100, 12, 25, 60);  // a ring, as behind a telescope with a secondary mirror
  sky.star(230, 120, 2.5, 2000);
  StarFinder finder;
  TestImage image = sky.image(Orvik_IMG_RAW8, {}, 1.5, 3);
  auto stars = finder.find(image.source());
  ASSERT_EQ(stars.size(), 2U);
  if (stars[0].x > 200) std::swap(stars[0], stars[1]);
  EXPECT_NEAR(stars[0].x, 100, 0.3);
  EXPECT_NEAR(stars[0].y, 100, 0.3);
  // Half of the ring's area lies within the radius whose square is the mean of both squares.
  EXPECT_NEAR(stars[0].hfr, std::sqrt((12 * 12 + 25 * 25) / 2.0), 1);
  EXPECT_FALSE(stars[0].saturated);
  EXPECT_NEAR(stars[1].x, 230, 0.3);
  EXPECT_TRUE(stars[1].saturated);
}

TEST(Stars, NothingElseIsOne) {
  const Size size{400, 300};
  for (const Kind& kind : kKinds) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
      Sky noise(size, 12 * kind.unit);
      StarFinder finder;
      TestImage dark = noise.image(kind.type, kind.mosaic, (0.3 + seed) * kind.unit, seed);
      EXPECT_TRUE(finder.find(dark.source()).empty()) << "noise in type " << kind.type;

      // Hot pixels, and a hot column.
      std::mt19937 random(seed);
      Sky hot(size, 12 * kind.unit);
      for (int i = 0; i < 300; ++i) {
        hot.at(static_cast<int>(random() % 400), static_cast<int>(random() % 300)) +=
            200 * kind.unit;
      }
      for (int y = 0; y < size.height; ++y) hot.at(77, y) += 30 * kind.unit;
      TestImage image = hot.image(kind.type, kind.mosaic, kind.unit, seed);
      EXPECT_LE(finder.find(image.source()).size(), 1U) << "hot pixels in type " << kind.type;
    }
  }
  // The Moon: a large disc with craters.
  Sky moon({600, 500}, 5);
  moon.disc(300, 250, 0, 200, 80);
  std::mt19937 random(9);
  for (int i = 0; i < 200; ++i) {
    const double angle = static_cast<double>(random() % 628) / 100;
    const double r = static_cast<double>(random() % 180);
    const double crater = 2 + static_cast<double>(random() % 12);
    moon.disc(300 + r * std::cos(angle), 250 + r * std::sin(angle), crater / 2, crater,
              static_cast<double>(random() % 60) - 30);
  }
  StarFinder finder;
  TestImage image = moon.image(Orvik_IMG_RAW8, {}, 1.5, 2);
  EXPECT_LE(finder.find(image.source()).size(), 10U);  // of 200 craters
  // Images too small for anything, and no image.
  for (const Size tiny : {Size{1, 1}, Size{2, 2}, Size{33, 1}, Size{4, 64}}) {
    TestImage little(tiny, Orvik_IMG_RAW8, BAYER_RG);
    EXPECT_TRUE(finder.find(little.source()).empty());
  }
}

TEST(Stars, AreAtMostFiftyOfACrowd) {
  Sky sky({900, 700}, 10);
  for (int i = 0; i < 90; ++i) {
    for (int dy = -6; dy <= 6; ++dy) {
      for (int dx = -6; dx <= 6; ++dx) {
        sky.at(50 + i % 10 * 85 + dx, 40 + i / 10 * 70 + dy) +=
            (60 + i) * std::exp(-(dx * dx + dy * dy) / 6.0);
      }
    }
  }
  StarFinder finder;
  TestImage image = sky.image(Orvik_IMG_RAW8, {}, 1, 1);
  const auto& stars = finder.find(image.source());
  ASSERT_EQ(stars.size(), 50U);
  // The faintest ones are left out.
  EXPECT_GT(stars.back().peak, 10 + 60 + 30);
}

}  // namespace
}  // namespace orvik::imaging
