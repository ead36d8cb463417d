// SPDX-License-Identifier: MIT
#include "cooler/thermistor.h"

#include <array>
#include <cstddef>

#include "cooler/interpolate.h"

namespace orvik::cooler {
namespace {

/// The resistance of the 10 kilohm NTC thermistor at each whole degree.
constexpr std::array kKiloOhms = {
    97.6037, 92.0947, 86.9305, 82.0877, 77.5442, 73.2798, 69.2759, 65.5149, 61.9809, 58.6587,
    55.5345, 52.5954, 49.8294, 47.2253, 44.7727, 42.462,  40.2841, 38.2307, 36.294,  34.4668,
    32.7421, 31.1138, 29.5759, 28.1229, 26.7496, 25.4513, 24.2234, 23.0618, 21.9625, 20.9218,
    19.9364, 19.0029, 18.1184, 17.28,   16.4852, 15.7313, 15.0161, 14.3375, 13.6932, 13.0815,
    12.5005, 11.9485, 11.4239, 10.9252, 10.451,  10.0,    9.5709,  9.1626,  8.7738,  8.4037,
    8.0512,  7.7154,  7.3954,  7.0904,  6.7996,  6.5223,  6.2577,  6.0053,  5.7645,  5.5345,
    5.315,   5.1053,  4.905,   4.7136,  4.5307,  4.3558,  4.1887,  4.0287,  3.8758,  3.7294,
    3.5893,  3.4553,  3.3269,  3.2039,  3.0862,  2.9733,  2.8652,  2.7616,  2.6622,  2.5669,
    2.4755,  2.3879,  2.3038,  2.2231,  2.1456,  2.0712,  1.9998,  1.9312,  1.8653,  1.8019,
    1.7411,  1.6826,  1.6264,  1.5723,  1.5203,  1.4703,  1.4222,  1.3759,  1.3313,  1.2884,
    1.2471,  1.2073,  1.169,   1.1321,  1.0965,  1.0623,  1.0293,  0.9974,  0.9667,  0.9372,
    0.9086,  0.8811,  0.8545,  0.8289,  0.8042,  0.7803,  0.7572,  0.735,   0.7135,  0.6927,
    0.6727,  0.6533,  0.6346,  0.6165,  0.599,   0.5821,  0.5658,  0.55,    0.5347,  0.5199,
    0.5056,  0.4918,  0.4784,  0.4654,
};
static_assert(kKiloOhms.size() == kHighestCelsius - kLowestCelsius + 1);

struct Point {
  double kiloOhms;
  double celsius;
};

constexpr auto kPoints = [] {
  std::array<Point, kKiloOhms.size()> points{};
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] = {kKiloOhms[i], kLowestCelsius + static_cast<double>(i)};
  }
  return points;
}();

double kiloOhmsOf(std::uint8_t value, int referenceKiloOhms) {
  return static_cast<double>(value * referenceKiloOhms) / (256 - value);
}

}  // namespace

std::optional<float> thermistorCelsius(std::uint8_t value, int referenceKiloOhms) {
  const double kiloOhms = kiloOhmsOf(value, referenceKiloOhms);
  const auto celsius = interpolate(kPoints, &Point::kiloOhms, &Point::celsius, kiloOhms);
  if (!celsius || *celsius < kLowestCelsius || *celsius > kHighestCelsius) return std::nullopt;
  return static_cast<float>(*celsius);
}

bool isColderThanRange(std::uint8_t value, int referenceKiloOhms) {
  return kiloOhmsOf(value, referenceKiloOhms) > kKiloOhms.front();
}

std::span<const double> thermistorKiloOhms() { return kKiloOhms; }

}  // namespace orvik::cooler
