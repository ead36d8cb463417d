// SPDX-License-Identifier: MIT
#include "cooler/thermistor.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orvik::cooler {
namespace {

constexpr int kReference = 10;

double dividerValue(double kiloOhms) { return 256 * kiloOhms / (kiloOhms + kReference); }

TEST(Thermistor, TheTableFallsAndIsThatOfATenKilohmThermistor) {
  const auto kiloOhms = thermistorKiloOhms();
  for (std::size_t i = 1; i < kiloOhms.size(); ++i) ASSERT_LT(kiloOhms[i], kiloOhms[i - 1]) << i;
  EXPECT_EQ(kiloOhms[25 - kLowestCelsius], 10.0);
  // The logarithm is almost linear over adjacent degrees, so this check detects a mistyped digit.
  for (std::size_t i = 1; i + 1 < kiloOhms.size(); ++i) {
    const double bend =
        std::log(kiloOhms[i - 1]) - 2 * std::log(kiloOhms[i]) + std::log(kiloOhms[i + 1]);
    ASSERT_NEAR(bend, 0, 7e-4) << i;
  }
}

TEST(Thermistor, EveryValueOfTheConverter) {
  const auto kiloOhms = thermistorKiloOhms();
  const double lowest = dividerValue(kiloOhms.back());
  const double highest = dividerValue(kiloOhms.front());
  float last = kHighestCelsius + 1.0F;
  for (int value = 0; value <= 255; ++value) {
    const auto celsius = thermistorCelsius(static_cast<std::uint8_t>(value), kReference);
    ASSERT_EQ(celsius.has_value(), value >= lowest && value <= highest) << value;
    if (!celsius) continue;
    ASSERT_LT(*celsius, last) << "a higher value means colder, at " << value;
    last = *celsius;
    // The resistance interpolated between the two adjacent degrees of the table must give the value
    // of the converter again.
    const double place = std::min(static_cast<double>(*celsius) - kLowestCelsius,
                                  static_cast<double>(kiloOhms.size()) - 1.001);
    const auto row = static_cast<std::size_t>(place);
    const double part = place - static_cast<double>(row);
    const double back = kiloOhms[row] + part * (kiloOhms[row + 1] - kiloOhms[row]);
    ASSERT_NEAR(dividerValue(back), value, 0.02) << *celsius;
  }
  EXPECT_LT(last, kLowestCelsius + 1.0F);
}

TEST(Thermistor, TheValueStandsLeftAlignedInTwoBytes) {
  for (int value = 0; value <= 255; ++value) {
    const auto byte0 = static_cast<std::uint8_t>((value & 0x0F) << 4);
    const auto byte1 = static_cast<std::uint8_t>(value >> 4);
    ASSERT_EQ(converterValue(byte0, byte1), value);
    // The other bits of the bytes are ignored.
    ASSERT_EQ(converterValue(byte0 | 0x0F, byte1 | 0xF0), value);
  }
}

}  // namespace
}  // namespace orvik::cooler
