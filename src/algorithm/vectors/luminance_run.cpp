// SPDX-License-Identifier: MIT
#include "algorithm/vectors/luminance_run.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/luminance_run.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "algorithm/vectors/luminance_lanes.inc"

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

#if HWY_TARGET == HWY_AVX3_DL
// Sixteen pixels in a vector, each with the bytes a, b, c, a in its 32 bits. Two multiply-adds make
// the thousandfold luminance S of them; multiplied as a float it becomes 256 + S / 1000 + 0.0005,
// whose bits from 15 to 22 are the whole part, and those below the fraction in steps of 2^-15.

/// Bytes between a pixel and those that are prefetched meanwhile. Gains 15 % where the frame does
/// not fit into the second-level cache.
constexpr int kAhead = 1024;

/// Indices of the bytes of sixteen pixels that begin at byte `first` of a vector.
HWY_INLINE __m512i pixelIndices(int first) {
  alignas(64) std::uint8_t indices[64];
  for (int i = 0; i < 64; ++i) {
    const int byte = i % 4 == 3 ? 0 : i % 4;
    indices[i] = static_cast<std::uint8_t>(first + i / 4 * 3 + byte);
  }
  return _mm512_load_si512(indices);
}

HWY_INLINE __m512i quotientBits(__m512i pixels) {
  const __m512i pairs = _mm512_maddubs_epi16(pixels, _mm512_set1_epi32(0x01623F20));
  const __m512i sum = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00010008));
  return _mm512_castps_si512(
      _mm512_fmadd_ps(_mm512_cvtepi32_ps(sum), _mm512_set1_ps(0.001F), _mm512_set1_ps(256.0005F)));
}

/// The luminance in bits 15 to 22, from the weighted sum with all its roundings.
HWY_INLINE __m512i exactBits(__m512i pixels) {
  const __m512i low = _mm512_set1_epi32(0x00FF00FF);
  const __m512i ac = _mm512_and_si512(pixels, low);
  const __m512i b = _mm512_and_si512(_mm512_srli_epi32(pixels, 8), _mm512_set1_epi32(0xFF));
  // Rounded products with 0.752, 0.528 and 0.144 as fractions of 2^15.
  const __m512i partsAc = _mm512_mulhrs_epi16(ac, _mm512_set1_epi32(17302 << 16 | 24642));
  const __m512i partsB = _mm512_mulhrs_epi16(b, _mm512_set1_epi32(4719));
  const __m512i whole =
      _mm512_add_epi32(_mm512_madd_epi16(ac, _mm512_set1_epi32(6422 << 16 | 16842)),
                       _mm512_madd_epi16(_mm512_slli_epi32(b, 1), _mm512_set1_epi32(33030 / 2)));
  const __m512i parts =
      _mm512_add_epi32(_mm512_madd_epi16(partsAc, _mm512_set1_epi32(0x00010001)), partsB);
  return _mm512_slli_epi32(_mm512_srli_epi32(_mm512_add_epi32(whole, parts), 16), 15);
}

std::size_t Luminance(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) {
  const __m512i indices = pixelIndices(0);
  const __m512i lastIndices = pixelIndices(16);
  // A bit of 0x7FE0 stands for a fraction of 0.001 and more: no multiple of 1000.
  const __m512i fraction = _mm512_set1_epi32(0x7FE0);
  const __m512i fields = _mm512_set1_epi64(0x2F2F2F2F0F0F0F0F);
  alignas(64) std::uint8_t order[64];
  for (int i = 0; i < 64; ++i) order[i] = static_cast<std::uint8_t>(i % 16 * 4 + i / 16);
  const __m512i inOrder = _mm512_load_si512(order);
  std::size_t done = 0;
  for (; done + 64 <= pixels; done += 64) {
    const std::uint8_t* const from = bgr + 3 * done;
    for (int line = 0; line < 3; ++line) hwy::Prefetch(from + kAhead + 64 * line);
    const __m512i first = _mm512_permutexvar_epi8(indices, _mm512_loadu_si512(from));
    const __m512i second = _mm512_permutexvar_epi8(indices, _mm512_loadu_si512(from + 48));
    const __m512i third = _mm512_permutexvar_epi8(indices, _mm512_loadu_si512(from + 96));
    const __m512i fourth = _mm512_permutexvar_epi8(lastIndices, _mm512_loadu_si512(from + 128));
    __m512i a = quotientBits(first);
    __m512i b = quotientBits(second);
    __m512i c = quotientBits(third);
    __m512i d = quotientBits(fourth);
    __mmask16 noMultiple = _mm512_test_epi32_mask(a, fraction);
    noMultiple = _mm512_mask_test_epi32_mask(noMultiple, b, fraction);
    noMultiple = _mm512_mask_test_epi32_mask(noMultiple, c, fraction);
    noMultiple = _mm512_mask_test_epi32_mask(noMultiple, d, fraction);
    if (HWY_UNLIKELY(_mm512_kortestc(noMultiple, noMultiple) == 0)) {
      a = exactBits(first);
      b = exactBits(second);
      c = exactBits(third);
      d = exactBits(fourth);
    }
    __m512i found = _mm512_multishift_epi64_epi8(fields, a);
    found = _mm512_mask_multishift_epi64_epi8(found, 0x2222222222222222, fields, b);
    found = _mm512_mask_multishift_epi64_epi8(found, 0x4444444444444444, fields, c);
    found = _mm512_mask_multishift_epi64_epi8(found, 0x8888888888888888, fields, d);

    _mm512_storeu_si512(out + done, _mm512_permutexvar_epi8(inOrder, found));
  }
  return done;
}
#else
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
    Lanes even, odd;
    lum::luminanceOf(hn::And(a, low), hn::And(b, low), hn::And(c, low), hn::ShiftRight<8>(a),
                     hn::ShiftRight<8>(b), hn::ShiftRight<8>(c), even, odd);
    hn::StoreU(hn::BitCast(bytes, hn::Or(even, hn::ShiftLeft<8>(odd))), bytes, out + done);
  }
  return done;
}
#endif

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
