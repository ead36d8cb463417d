// SPDX-License-Identifier: MIT
// The binomial series (1 + d)^e = 1 + e d + e (e - 1) / 2 d^2 + ... up to d^6. With exponents up to
// 2 and |d| up to 1/64 the rest is below 1e-14, and rounding adds less. The table rounds the power
// to single precision, 2^-24, so that the series almost always gives the same; where a change by
// 2^-44 would change the rounded power, the caller computes it.
#include "algorithm/vectors/power_run.h"

#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/power_run.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || !HWY_HAVE_FLOAT64
std::size_t Power(const PowerSeries&, std::size_t, std::size_t, std::uint16_t*) { return 0; }
#else
namespace hn = hwy::HWY_NAMESPACE;

std::size_t Power(const PowerSeries& series, std::size_t first, std::size_t count,
                  std::uint16_t* table) {
  const hn::ScalableTag<double> doubles;
  const hn::Rebind<float, decltype(doubles)> floats;
  const hn::Rebind<std::int32_t, decltype(doubles)> longs;
  const hn::Rebind<std::uint16_t, decltype(doubles)> words;
  constexpr double kMargin = 1.0 / (std::uint64_t{1} << 44);
  const auto most = hn::Set(floats, 65535.0F);
  const auto inverse = hn::Set(doubles, 1 / series.centre);
  const auto one = hn::Set(doubles, 1.0);
  const auto lanes = hn::Iota(longs, 0);
  const std::size_t step = hn::Lanes(doubles);
  std::size_t done = 0;
  for (; done + step <= count; done += step) {
    const auto index = hn::Add(lanes, hn::Set(longs, static_cast<std::int32_t>(first + done)));
    const auto x = hn::PromoteTo(doubles, hn::Div(hn::ConvertTo(floats, index), most));
    const auto distance = hn::MulSub(x, inverse, one);
    auto ratio = hn::Set(doubles, series.factors.back());
    for (std::size_t n = series.factors.size() - 1; n-- > 0;) {
      ratio = hn::MulAdd(ratio, distance, hn::Set(doubles, series.factors[n]));
    }
    ratio = hn::MulAdd(ratio, distance, one);
    const auto power = hn::Mul(ratio, hn::Set(doubles, series.power));
    const auto lower = hn::DemoteTo(floats, hn::Mul(power, hn::Set(doubles, 1 - kMargin)));
    const auto upper = hn::DemoteTo(floats, hn::Mul(power, hn::Set(doubles, 1 + kMargin)));
    if (!hn::AllTrue(floats, hn::Eq(lower, upper))) return done;
    const auto entry =
        hn::MulAdd(hn::PromoteTo(doubles, lower), hn::Set(doubles, 65535.0), hn::Set(doubles, 0.5));
    hn::StoreU(hn::DemoteTo(words, hn::DemoteTo(longs, entry)), words, table + first + done);
  }
  return done;
}
#endif

}  // namespace
}  // namespace orvik::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvik {

HWY_EXPORT(Power);

PowerSeries::PowerSeries(double point, double exponent) noexcept
    : centre(point), power(std::pow(point, exponent)) {
  double factor = 1;
  for (std::size_t n = 0; n < factors.size(); ++n) {
    const auto order = static_cast<double>(n);
    factor *= (exponent - order) / (order + 1);
    factors[n] = factor;
  }
}

std::size_t powerRun(const PowerSeries& series, std::size_t first, std::size_t count,
                     std::uint16_t* table) noexcept {
  return HWY_DYNAMIC_DISPATCH(Power)(series, first, count, table);
}

}  // namespace orvik
#endif
