// SPDX-License-Identifier: MIT
#include "imaging/view/render.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "gtest/gtest.h"
#include "imaging/test_frame.h"
#include "orvik/algorithm.h"

namespace orvik::imaging {
namespace {

using test::TestImage;

Stretch curved() {
  Stretch stretch;
  stretch.mode = Stretch::Mode::kAsinh;
  stretch.black = 0.1;
  stretch.white = 0.8;
  return stretch;
}

struct Kind {
  IMG_TYPE type;
  std::optional<BayerPattern> mosaic;
  bool wideColour = false;
};
const std::vector<Kind> kKinds = {
    {Orvik_IMG_RAW8, {}},        {Orvik_IMG_RAW16, {}},       {Orvik_IMG_RGB24, {}},
    {Orvik_IMG_Y8, {}},          {Orvik_IMG_RAW8, BAYER_RG},  {Orvik_IMG_RAW8, BAYER_BG},
    {Orvik_IMG_RAW16, BAYER_GR}, {Orvik_IMG_RAW16, BAYER_GB}, {Orvik_IMG_RGB24, {}, true},
};

/// 0 blue, 1 green, 2 red, as pictures have them.
int colourAt(BayerPattern mosaic, int x, int y) {
  static constexpr std::array<std::array<int, 4>, 4> kCells{
      {{2, 1, 1, 0}, {0, 1, 1, 2}, {1, 2, 0, 1}, {1, 0, 2, 1}}};
  return kCells.at(static_cast<std::size_t>(mosaic))
      .at(static_cast<std::size_t>(2 * (y % 2) + x % 2));
}

/// The mean of all samples of a colour in a block, stretched: what a pixel of a picture has to be.
double expected(const TestImage& image, const RenderPlan& plan, int x, int y, int channel,
                const Stretch& stretch) {
  const ImageSource source = image.source();
  double sum = 0;
  int count = 0;
  for (int dy = 0; dy < plan.factor; ++dy) {
    for (int dx = 0; dx < plan.factor; ++dx) {
      const int px = plan.part.x + x * plan.factor + dx;
      const int py = plan.part.y + y * plan.factor + dy;
      if (source.mosaic && colourAt(*source.mosaic, px, py) != channel) continue;
      sum += image.at(px, py, source.type == Orvik_IMG_RGB24 ? channel : 0);
      ++count;
    }
  }
  return 255 * brightness(stretch, sum / count / image.depth());
}

TEST(Render, AveragesEveryTypeByEveryFactor) {
  const Stretch stretch = curved();
  StretchTable table;
  table.set(stretch);
  Renderer renderer;
  for (const Kind& kind : kKinds) {
    TestImage image({50, 38}, kind.type, kind.mosaic, kind.wideColour);
    image.fillRandomly(static_cast<unsigned>(kind.type));
    const ImageSource source = image.source();
    for (const Window& window :
         {Window{0, 0, 50, 38}, Window{3, 5, 29, 22}, Window{-10, 30, 500, 500}}) {
      for (const int place : {60, 25, 17, 16}) {
        const RenderPlan plan = planFor(source, window, {place, place}, 1);
        if (kind.mosaic && plan.factor == 1) continue;  // interpolated: another test
        const auto picture = renderer.render(source, plan, table);
        const Size size = plan.size();
        const int channels = source.isColour() ? 3 : 1;
        ASSERT_EQ(picture.size(), static_cast<std::size_t>(size.width * size.height * channels));
        for (int i = 0; i < static_cast<int>(picture.size()); ++i) {
          const int x = i / channels % size.width;
          const int y = i / channels / size.width;
          ASSERT_NEAR(picture[static_cast<std::size_t>(i)],
                      expected(image, plan, x, y, i % channels, stretch), 0.51)
              << "type " << kind.type << " factor " << plan.factor << " at " << x << "," << y;
        }
      }
    }
  }
}

TEST(Render, InterpolatesPartsOfMosaicsAsTheWholeImage) {
  StretchTable table;
  table.set(curved());
  Renderer renderer;
  for (const Kind& kind : kKinds) {
    if (!kind.mosaic) continue;
    const Size size{44, 30};
    TestImage image(size, kind.type, kind.mosaic);
    image.fillRandomly(7);
    std::vector<std::uint8_t> stretched;
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        const auto value = static_cast<std::size_t>(image.at(x, y));
        stretched.push_back(kind.type == Orvik_IMG_RAW16 ? table.wide()[value]
                                                         : table.narrow()[value]);
      }
    }
    std::vector<std::uint8_t> whole(3 * stretched.size());
    using Demosaic = void (*)(const std::uint8_t*, std::uint8_t*, int, int) noexcept;
    constexpr std::array<Demosaic, 4> kDemosaic{
        CAlgorithm::Bayer2RGB24_RG, CAlgorithm::Bayer2RGB24_BG, CAlgorithm::Bayer2RGB24_GR,
        CAlgorithm::Bayer2RGB24_GB};
    kDemosaic.at(static_cast<std::size_t>(*kind.mosaic))(stretched.data(), whole.data(), size.width,
                                                         size.height);
    for (const Window& window :
         {Window{0, 0, 44, 30}, Window{9, 7, 20, 12}, Window{30, 20, 99, 99}}) {
      const RenderPlan plan = planFor(image.source(), window, {99, 99}, 1);
      ASSERT_EQ(plan.factor, 1);
      const auto picture = renderer.render(image.source(), plan, table);
      for (int y = 0; y < plan.part.height; ++y) {
        const auto* const row = picture.data() + std::ptrdiff_t{3} * y * plan.part.width;
        const auto* const same =
            whole.data() + std::ptrdiff_t{3} * ((plan.part.y + y) * size.width + plan.part.x);
        ASSERT_TRUE(std::equal(row, row + std::ptrdiff_t{3} * plan.part.width, same)) << y;
      }
    }
  }
}

TEST(Render, PlansNeverScaleUpAndStayInTheImage) {
  for (const auto mosaic : {std::optional<BayerPattern>(), std::optional(BAYER_GB)}) {
    for (const Size size :
         {Size{1304, 976}, Size{4, 2}, Size{1, 1}, Size{7, 300}, Size{5496, 3672}}) {
      const ImageSource image{{}, size, Orvik_IMG_RAW8, mosaic};
      for (const auto& window : {std::optional<Window>(), std::optional(Window{-5, -5, 3, 3}),
                                 std::optional(Window{5000, 5000, 10, 10}),
                                 std::optional(Window{3, 1, 2'000'000'000, 2'000'000'000}),
                                 std::optional(Window{1, 1, 1, 1})}) {
        for (const Size place : {Size{0, 0}, Size{640, 480}, Size{1'000'000, 1}}) {
          for (const int coarser : {1, 4}) {
            const RenderPlan plan = planFor(image, window, place, coarser);
            const Window& part = plan.part;
            ASSERT_GE(plan.factor, 1);
            ASSERT_GE(plan.size().width, 1);
            ASSERT_GE(plan.size().height, 1);
            ASSERT_EQ(part.width % plan.factor + part.height % plan.factor, 0);
            ASSERT_TRUE(part.x >= 0 && part.x + part.width <= size.width);
            ASSERT_TRUE(part.y >= 0 && part.y + part.height <= size.height);
            if (!mosaic) continue;
            ASSERT_EQ(part.x % 2 + part.y % 2, 0);
            ASSERT_TRUE(plan.factor == 1 || plan.factor % 2 == 0) << plan.factor;
          }
        }
      }
    }
  }
  // The factor that comes nearest to the screen's size.
  const ImageSource image{{}, {1304, 976}, Orvik_IMG_RAW8, std::nullopt};
  EXPECT_EQ(planFor(image, {}, {1000, 1000}, 1).factor, 1);
  EXPECT_EQ(planFor(image, {}, {400, 1000}, 1).factor, 3);
  EXPECT_EQ(planFor(image, {}, {1304, 976}, 2).factor, 2);
}

}  // namespace
}  // namespace orvik::imaging
