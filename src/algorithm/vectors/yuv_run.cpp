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

#include "algorithm/vectors/dense_pixels.inc"
#include "algorithm/vectors/luminance_lanes.inc"
#include "algorithm/vectors/portable.h"
#include "algorithm/vectors/prefetch.h"

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

#if ORVIK_PORTABLE_TARGET
std::size_t Yuv(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
#else

#if HWY_TARGET == HWY_AVX3_DL
constexpr int lanes(int low, int high) {
  return static_cast<int>(static_cast<unsigned>(high) << 16 |
                          (static_cast<unsigned>(low) & 0xFFFF));
}

/// The weighted sum of the bytes a, b, c, a in each 32 bits. Factors hold those of a and c, and of
/// b; parts the fractions of the weights in units of 2^-15.
HWY_INLINE __m512i chromaSum(__m512i ac, __m512i ba, int factorsAc, int factorB, int partsAc,
                             int partB) {
  const __m512i parts = _mm512_add_epi16(_mm512_mulhrs_epi16(ac, _mm512_set1_epi32(partsAc)),
                                         _mm512_mulhrs_epi16(ba, _mm512_set1_epi32(partB)));
  const __m512i ofAc = _mm512_madd_epi16(ac, _mm512_set1_epi32(factorsAc));
  const __m512i whole = dense::withProducts(ofAc, ba, _mm512_set1_epi32(factorB));
  return dense::withProducts(whole, parts, _mm512_set1_epi32(0x00010001));
}

struct ChromaSums {
  explicit HWY_INLINE ChromaSums(__m512i pixels) {
    const __m512i ac = _mm512_and_si512(pixels, _mm512_set1_epi32(0x00FF00FF));
    const __m512i ba = _mm512_srli_epi16(pixels, 8);
    // 28770.304 a - 24117.248 b - 4653.056 c
    first = chromaSum(ac, ba, lanes(28770, -4653), lanes(-24117, 0), lanes(9961, -1835),
                      lanes(-8126, 0));
    // 28770.304 c - 19070.976 b - 9699.328 a
    second = chromaSum(ac, ba, lanes(-9699, 28770), lanes(-19070, 0), lanes(-10748, 9961),
                       lanes(-31982, 0));
  }
  __m512i first, second;
};

/// The even pixels of two vectors.
HWY_INLINE __m512i evenOf(__m512i a, __m512i b) {
  return _mm512_castps_si512(
      _mm512_shuffle_ps(_mm512_castsi512_ps(a), _mm512_castsi512_ps(b), 0x88));
}

/// Where the first chroma of an even pixel is put; the second one follows.
constexpr int chromaPlaceOf(int pixel) {
  const int vector = pixel / 16;
  const int lane = pixel % 16 / 4 * 4 + pixel % 4 / 2 + vector % 2 * 2;
  return 4 * lane + vector / 2 * 2;
}

/// Indices for one half of the result: of the luminance for even bytes, of the chroma for odd ones.
HWY_INLINE __m512i resultIndices(int firstPixel) {
  alignas(64) std::uint8_t indices[64];
  for (int i = 0; i < 64; ++i) {
    const int pixel = firstPixel + i / 2;
    const int chroma = chromaPlaceOf(pixel - pixel % 2) + pixel % 2;
    indices[i] = static_cast<std::uint8_t>(i % 2 == 0 ? dense::placeOf(pixel) : chroma);
  }
  return _mm512_load_si512(indices);
}

HWY_INLINE void storeHalf(__m512i luminance, __m512i chroma, __m512i indices, std::uint8_t* out) {
  const __m512i both = _mm512_mask_permutexvar_epi8(_mm512_permutexvar_epi8(indices, luminance),
                                                    0xAAAAAAAAAAAAAAAA, indices, chroma);
  _mm512_storeu_si512(
      out, _mm512_add_epi8(both, _mm512_set1_epi32(lanes(128 << 8 | 16, 128 << 8 | 16))));
}

struct Converter {
  HWY_INLINE Converter()
      : fields(_mm512_set1_epi64(0x3030303010101010)),
        leftIndices(resultIndices(0)),
        rightIndices(resultIndices(32)) {}

  static std::size_t step() { return 64; }

  HWY_INLINE void operator()(const std::uint8_t* bgr, std::uint8_t* out) const {
    const dense::Pixels all(bgr, constants);
    const __m512i luminance = dense::luminanceOf(all, constants);
    const ChromaSums left(evenOf(all.first, all.second));
    const ChromaSums right(evenOf(all.third, all.fourth));
    const __m512i chroma =
        dense::gathered(fields, left.first, left.second, right.first, right.second);
    prefetchResult(out, 128);
    storeHalf(luminance, chroma, leftIndices, out);
    storeHalf(luminance, chroma, rightIndices, out + 64);
  }

  dense::Constants constants;
  __m512i fields, leftIndices, rightIndices;
};
#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<std::uint16_t>;
using Bytes = hn::Repartition<std::uint8_t, Words>;
using Longs = hn::Repartition<std::uint32_t, Words>;
using Lanes = hn::Vec<Words>;

// The sums of the products of neighbouring 16-bit lanes, signed: one instruction on x86.
#if HWY_ARCH_X86
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
#if HWY_ARCH_X86
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

/// The samples of the even pixels.
HWY_INLINE Lanes evenOf(hn::Vec<Bytes> samples) {
  return hn::And(hn::BitCast(Words(), samples), hn::Set(Words(), 0xFF));
}

struct Converter {
  static std::size_t step() { return hn::Lanes(Bytes()); }

  HWY_INLINE void operator()(const std::uint8_t* bgr, std::uint8_t* out) const {
    const Bytes bytes;
    const lum::Pixels all(bgr);
    const auto luminance = lum::luminanceOf(all);
    const auto chroma = hn::BitCast(bytes, chromaOf(evenOf(all.a), evenOf(all.b), evenOf(all.c)));
    hn::StoreInterleaved2(hn::Add(luminance, hn::Set(bytes, 16)),
                          hn::Add(chroma, hn::Set(bytes, 128)), bytes, out);
  }
};
#endif

std::size_t Yuv(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) {
  const Converter convert;
  const std::size_t step = Converter::step();
  std::size_t done = 0;
  for (; done + step <= pixels; done += step) convert(bgr + 3 * done, out + 2 * done);
  const std::size_t even = pixels - pixels % 2;
  // The last pixels once more with some before them, which must not be overwritten yet.
  if (done < even && pixels >= 3 * step) {
    convert(bgr + 3 * (even - step), out + 2 * (even - step));
    done = even;
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
