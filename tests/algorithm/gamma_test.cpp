// SPDX-License-Identifier: MIT
#include "algorithm/gamma.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "algorithm/frame.h"

namespace orvik::test {
namespace {

struct Tables {
  explicit Tables(int value) : table8(256), table16(65536) {
    buildGammaTables(value, GammaTable8(table8), GammaTable16(table16));
  }

  std::vector<std::uint8_t> table8;
  std::vector<std::uint16_t> table16;
};

/// The tolerance of an entry against the exact curve: one half for its own rounding, plus the
/// single precision error of its factors at full scale.
template <typename Entry>
void expectOnCurve(const std::vector<Entry>& table, double exponent) {
  const auto max = static_cast<double>(table.size() - 1);
  for (size_t i = 0; i < table.size(); ++i) {
    const double exact = max * std::pow(static_cast<double>(i) / max, exponent);
    ASSERT_NEAR(static_cast<double>(table[i]), exact, 0.51) << "entry " << i;
    if (i > 0) {
      ASSERT_LE(table[i - 1], table[i]) << "entry " << i;
    }
  }
  EXPECT_EQ(table.front(), 0);
  EXPECT_EQ(table.back(), table.size() - 1);
}

TEST(Gamma, TablesFollowThePowerCurve) {
  struct Case {
    int value;
    double exponent;
  };
  for (const auto [value, exponent] : {Case{1, 1.98}, Case{20, 1.6}, Case{49, 1.02}, Case{50, 1.0},
                                       Case{51, 0.99}, Case{80, 0.7}, Case{100, 0.5}}) {
    SCOPED_TRACE(value);
    const Tables tables(value);
    expectOnCurve(tables.table8, exponent);
    expectOnCurve(tables.table16, exponent);
  }
}

/// These entries are so close to a half that they would be one higher or lower if a factor had
/// double precision or the product had single precision.
TEST(Gamma, RoundsEachFactorToSinglePrecision) {
  const Tables steep(1);
  EXPECT_EQ(steep.table16[23352], 8494);
  EXPECT_EQ(steep.table16[65100], 64676);
  EXPECT_EQ(steep.table16[20310], 6443);
  const Tables flat(100);
  EXPECT_EQ(flat.table16[1778], 10795);
  EXPECT_EQ(flat.table16[65530], 65533);
  EXPECT_EQ(flat.table16[5864], 19603);
}

TEST(Gamma, EveryEntryOfEveryValueIsThatOfThePowerFunction) {
  for (int value = -10; value <= 160; ++value) {
    const float gamma = static_cast<float>(value);
    const float exponent = (value <= 50 ? 200.0F - 2.0F * gamma : 150.0F - gamma) / 100.0F;
    const Tables tables(value);
    std::vector<std::uint16_t> wanted(65536);
    for (size_t i = 0; i < wanted.size(); ++i) {
      const float x = static_cast<float>(i) / 65535.0F;
      const auto power = static_cast<float>(std::pow(double{x}, double{exponent}));
      wanted[i] = static_cast<std::uint16_t>(std::lround(std::min(65535.0, power * 65535.0)));
    }
    ASSERT_EQ(tables.table16, wanted) << "value " << value;
  }
}

TEST(Gamma, ValuesOutsideTheScaleStayDefined) {
  const Tables negativeExponent(200);  // x^-0.5 is 1 or more everywhere, infinite at 0
  EXPECT_EQ(negativeExponent.table8, std::vector<std::uint8_t>(256, 255));
  EXPECT_EQ(negativeExponent.table16, std::vector<std::uint16_t>(65536, 65535));
  const Tables steepest(std::numeric_limits<int>::min());
  EXPECT_EQ(steepest.table8[254], 0);
  EXPECT_EQ(steepest.table8[255], 255);
  const Tables flattest(std::numeric_limits<int>::max());
  EXPECT_EQ(flattest.table16[0], 65535);
}

TEST(Gamma, TheStoredValueIsLimitedNotTheArgument) {
  EXPECT_EQ(nextGamma(50, 70), 70);
  EXPECT_EQ(nextGamma(50, 1000), 1000);
  EXPECT_EQ(nextGamma(1000, 70), 100);
  EXPECT_EQ(nextGamma(101, 1), 100);
  EXPECT_EQ(nextGamma(100, 1), 1);
  EXPECT_EQ(nextGamma(-5, -7), -7);
}

template <typename Pixel>
void expectMapped(const std::vector<Pixel>& table) {
  for (const Size size : kSizes) {
    auto image = Frame<Pixel>::random(area(size), 21);
    std::vector<Pixel> wanted;
    for (const Pixel pixel : image.pixels()) wanted.push_back(table.at(pixel));
    applyTable(image.data(), table.data(), size.width, size.height);
    ASSERT_EQ(image.pixels(), wanted);
    ASSERT_TRUE(image.guardsIntact());
  }
}

TEST(Gamma, MapsEveryPixelThroughTheTable) {
  expectMapped(Frame<std::uint8_t>::random(256, 22).pixels());
  expectMapped(Frame<std::uint16_t>::random(65536, 23).pixels());
}

}  // namespace
}  // namespace orvik::test
