// SPDX-License-Identifier: MIT
#include "algorithm/vectors/luminance_run.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/luminance_run.cpp"
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
std::size_t Luminance(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
std::size_t FirstChannel(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = lum::Bytes;

#if HWY_TARGET == HWY_AVX3_DL
std::size_t Luminance(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) {
  const dense::Constants constants;
  alignas(64) std::uint8_t order[64];
  for (int i = 0; i < 64; ++i) order[i] = static_cast<std::uint8_t>(dense::placeOf(i));
  const __m512i inOrder = _mm512_load_si512(order);
  std::size_t done = 0;
  for (; done + 64 <= pixels; done += 64) {
    prefetchResult(out + done, 64);
    const __m512i found = dense::luminanceOf({bgr + 3 * done, constants}, constants);
    _mm512_storeu_si512(out + done, _mm512_permutexvar_epi8(inOrder, found));
  }
  return done;
}
#else
std::size_t Luminance(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) {
  const Bytes bytes;
  const std::size_t step = hn::Lanes(bytes);
  std::size_t done = 0;
  for (; done + step <= pixels; done += step) {
    hn::StoreU(lum::luminanceOf(lum::Pixels(bgr + 3 * done)), bytes, out + done);
  }
  return done;
}
#endif

std::size_t FirstChannel(const std::uint8_t* bgr, std::uint8_t* out, std::size_t pixels) {
  const Bytes bytes;
  const std::size_t step = hn::Lanes(bytes);
  std::size_t done = 0;
  for (; done + step <= pixels; done += step) {
    hn::StoreU(lum::Pixels(bgr + 3 * done).a, bytes, out + done);
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
