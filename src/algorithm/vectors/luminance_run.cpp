// SPDX-License-Identifier: MIT The luminance of a, b, c is the whole part of a sum of three
// weighted samples in 16.16 fixed point, each rounded to nearest. With S = 257 a + 504 b + 98 c
// that is floor(S / 1000), which is computed in 16 bits from a quarter of S: floor(floor(S / 4) /
// 250). Only if S is a multiple of 1000 can the three roundings together bring the sum below the
// whole number, by one unit; the lower half of the sum is then 0xFFFF.
#include "algorithm/vectors/luminance_run.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/luminance_run.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR
std::size_t Luminance(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
std::size_t FirstChannel(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<std::uint16_t>;
using Bytes = hn::Repartition<std::uint8_t, Words>;
using Lanes = hn::Vec<Words>;

HWY_INLINE Lanes times(Lanes samples, std::uint16_t factor) {
  return hn::Mul(samples, hn::Set(Words(), factor));
}

/// samples * thousandths / 1000, rounded to nearest; samples up to 255.
template <unsigned kThousandths>
HWY_INLINE Lanes rounded(Lanes samples) {
  // The factor is rounded up, by too little for a product to reach the next whole number.
  constexpr auto kFactor = static_cast<std::uint16_t>((kThousandths * 65536 + 999) / 1000);
  const Lanes twice = hn::MulHigh(hn::Add(samples, samples), hn::Set(Words(), kFactor));
  return hn::ShiftRight<1>(hn::Add(twice, hn::Set(Words(), 1)));
}

/// The lower half of the weighted sum 16842.752 a + 33030.144 b + 6422.528 c.
HWY_INLINE Lanes lowerHalf(Lanes a, Lanes b, Lanes c) {
  const Lanes whole = hn::Add(hn::Add(times(a, 16842), times(b, 33030)), times(c, 6422));
  const Lanes parts = hn::Add(hn::Add(rounded<752>(a), rounded<144>(b)), rounded<528>(c));
  return hn::Add(whole, parts);
}

HWY_INLINE Lanes luminanceOf(Lanes a, Lanes b, Lanes c) {
  const Words words;
  const Lanes small = hn::Add(a, hn::Add(c, c));
  const Lanes quarter = hn::Add(hn::Add(hn::Add(hn::ShiftLeft<6>(a), times(b, 126)), times(c, 24)),
                                hn::ShiftRight<2>(small));
  // 33555 / 2^22 is close enough to 1 / 125 for values of 15 bits.
  const Lanes result =
      hn::ShiftRight<6>(hn::MulHigh(hn::ShiftRight<1>(quarter), hn::Set(words, 33555)));
  const auto isMultiple = hn::And(hn::Eq(quarter, times(result, 250)),
                                  hn::Eq(hn::And(small, hn::Set(words, 3)), hn::Zero(words)));
  if (hn::AllFalse(words, hn::AndNot(hn::Eq(quarter, hn::Zero(words)), isMultiple))) return result;
  const auto isBelow = hn::Eq(lowerHalf(a, b, c), hn::Set(words, 0xFFFF));
  return hn::Sub(result, hn::IfThenElseZero(isBelow, hn::Set(words, 1)));
}

std::size_t Luminance(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) {
  const Bytes bytes;
  const Words words;
  const auto low = hn::Set(words, 0xFF);
  const std::size_t step = hn::Lanes(bytes);
  std::size_t done = 0;
  for (; done + step <= pixels; done += step) {
    hn::Vec<Bytes> first, second, third;
    hn::LoadInterleaved3(bytes, bgr + 3 * done, first, second, third);
    const Lanes a = hn::BitCast(words, first);
    const Lanes b = hn::BitCast(words, second);
    const Lanes c = hn::BitCast(words, third);
    const Lanes even = luminanceOf(hn::And(a, low), hn::And(b, low), hn::And(c, low));
    const Lanes odd = luminanceOf(hn::ShiftRight<8>(a), hn::ShiftRight<8>(b), hn::ShiftRight<8>(c));
    hn::StoreU(hn::BitCast(bytes, hn::Or(even, hn::ShiftLeft<8>(odd))), bytes, out + done);
  }
  return done;
}

std::size_t FirstChannel(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) {
  const Bytes bytes;
  const std::size_t step = hn::Lanes(bytes);
  std::size_t done = 0;
  for (; done + step <= pixels; done += step) {
    hn::Vec<Bytes> first, second, third;
    hn::LoadInterleaved3(bytes, bgr + 3 * done, first, second, third);
    hn::StoreU(first, bytes, out + done);
  }
  return done;
}
#endif

}  // namespace
}  // namespace orvik::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvik {

HWY_EXPORT(Luminance);
HWY_EXPORT(FirstChannel);

std::size_t luminanceRun(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) noexcept {
  return HWY_DYNAMIC_DISPATCH(Luminance)(bgr, out, pixels);
}

std::size_t firstChannelRun(const std::uint8_t* bgr, std::uint8_t* out,
                            std::size_t pixels) noexcept {
  return HWY_DYNAMIC_DISPATCH(FirstChannel)(bgr, out, pixels);
}

}  // namespace orvik
#endif
