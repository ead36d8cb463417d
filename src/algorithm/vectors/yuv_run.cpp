// SPDX-License-Identifier: MIT
// The chroma is the whole part of a weighted sum in 16.16 fixed point, each term rounded to
// nearest. It is computed in full, because a grey pixel, which is nothing rare, makes the roundings
// decide: multiply-adds of two signed 16-bit numbers each give the 32-bit sum of the whole parts of
// the weights, and the fourth factor adds the rounded products with their fractions.
#include "algorithm/vectors/yuv_run.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/yuv_run.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "algorithm/vectors/luminance_lanes.inc"

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR
std::size_t Yuv(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<std::uint16_t>;
using Bytes = hn::Repartition<std::uint8_t, Words>;
using Longs = hn::Repartition<std::uint32_t, Words>;
using Lanes = hn::Vec<Words>;

// The sums of the products of neighbouring 16-bit lanes, signed: one instruction on x86.
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
HWY_INLINE __m128i sumsOfPairs(__m128i a, __m128i b) { return _mm_madd_epi16(a, b); }
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE __m256i sumsOfPairs(__m256i a, __m256i b) { return _mm256_madd_epi16(a, b); }
#endif
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE __m512i sumsOfPairs(__m512i a, __m512i b) { return _mm512_madd_epi16(a, b); }
#endif
#endif

/// The 32-bit sums of pairs of products, one factor of each product constant.
HWY_INLINE hn::Vec<Longs> sumOfProducts(Lanes pairs, std::int16_t first, std::int16_t second) {
  const Longs longs;
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
  const std::uint32_t upper = static_cast<std::uint16_t>(second);
  const auto factors = hn::Set(longs, upper << 16 | static_cast<std::uint16_t>(first));
  return hn::Vec<Longs>{sumsOfPairs(pairs.raw, factors.raw)};
#else
  const hn::RebindToSigned<Longs> signs;
  const auto both = hn::BitCast(signs, pairs);
  const auto x = hn::ShiftRight<16>(hn::ShiftLeft<16>(both));
  const auto y = hn::ShiftRight<16>(both);
  return hn::BitCast(
      longs, hn::Add(hn::Mul(x, hn::Set(signs, first)), hn::Mul(y, hn::Set(signs, second))));
#endif
}

/// Two vectors whose pairs of lanes are x and y of the even, and of the odd, lanes.
struct Pairs {
  HWY_INLINE Pairs(Lanes x, Lanes y)
      : even(hn::OddEven(hn::BitCast(Words(), hn::ShiftLeft<16>(hn::BitCast(Longs(), y))), x)),
        odd(hn::OddEven(y, hn::BitCast(Words(), hn::ShiftRight<16>(hn::BitCast(Longs(), x))))) {}
  Lanes even, odd;
};

/// The upper halves of first * x + second * y + third * z + rest, where `xy` holds x and y.
HWY_INLINE Lanes upperHalves(const Pairs& xy, Lanes z, Lanes rest, std::int16_t first,
                             std::int16_t second, std::int16_t third) {
  const Pairs zRest(z, rest);
  const auto even =
      hn::Add(sumOfProducts(xy.even, first, second), sumOfProducts(zRest.even, third, 1));
  const auto odd =
      hn::Add(sumOfProducts(xy.odd, first, second), sumOfProducts(zRest.odd, third, 1));
  return hn::OddEven(hn::BitCast(Words(), odd), hn::BitCast(Words(), hn::ShiftRight<16>(even)));
}

/// The chroma of the pixels a, b, c without its offset: the first value in the lower byte of each
/// lane, the second one in the upper byte.
HWY_INLINE Lanes chromaOf(Lanes a, Lanes b, Lanes c) {
  using lum::rounded;
  const Pairs ab(a, b);
  // 28770.304 a - 24117.248 b - 4653.056 c
  const Lanes firstRest = hn::Sub(hn::Sub(rounded<304>(a), rounded<248>(b)), rounded<56>(c));
  const Lanes first = upperHalves(ab, c, firstRest, 28770, -24117, -4653);
  // 28770.304 c - 19070.976 b - 9699.328 a
  const Lanes secondRest = hn::Sub(hn::Sub(rounded<304>(c), rounded<976>(b)), rounded<328>(a));
  const Lanes second = upperHalves(ab, c, secondRest, -9699, -19070, 28770);
  return hn::Or(hn::And(first, hn::Set(Words(), 0xFF)), hn::ShiftLeft<8>(second));
}

std::size_t Yuv(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) {
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
    const Lanes evenA = hn::And(a, low);
    const Lanes evenB = hn::And(b, low);
    const Lanes evenC = hn::And(c, low);
    Lanes even, odd;
    lum::luminanceOf(evenA, evenB, evenC, hn::ShiftRight<8>(a), hn::ShiftRight<8>(b),
                     hn::ShiftRight<8>(c), even, odd);
    const auto luminance = hn::BitCast(bytes, hn::Or(even, hn::ShiftLeft<8>(odd)));
    const auto chroma = hn::BitCast(bytes, chromaOf(evenA, evenB, evenC));
    hn::StoreInterleaved2(hn::Add(luminance, hn::Set(bytes, 16)),
                          hn::Add(chroma, hn::Set(bytes, 128)), bytes, out + 2 * done);
  }
  return done;
}
#endif

}  // namespace
}  // namespace orvik::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvik {

HWY_EXPORT(Yuv);

std::size_t yuvRun(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) noexcept {
  return HWY_DYNAMIC_DISPATCH(Yuv)(bgr, out, pixels);
}

}  // namespace orvik
#endif
