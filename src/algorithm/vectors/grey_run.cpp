// SPDX-License-Identifier: MIT
// Takes as long as copying as many bytes does. Without the prefetch, results beyond the
// second-level cache would take up to a third longer.
#include "algorithm/vectors/grey_run.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/grey_run.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "algorithm/vectors/portable.h"
#include "algorithm/vectors/prefetch.h"

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

#if ORVIK_PORTABLE_TARGET
std::size_t Grey10(const std::uint16_t*, std::uint8_t*, std::size_t) { return 0; }
#else
namespace hn = hwy::HWY_NAMESPACE;

using Longs = hn::ScalableTag<std::uint32_t>;
using Words = hn::Rebind<std::uint16_t, Longs>;
using Bytes = hn::Repartition<std::uint8_t, Longs>;

HWY_INLINE void convert(const std::uint16_t* samples, std::uint8_t* words) {
  const Longs longs;
  const auto sample = hn::PromoteTo(longs, hn::LoadU(Words(), samples));
  const auto twice = hn::Add(sample, hn::ShiftLeft<10>(sample));
  hn::StoreU(hn::BitCast(Bytes(), hn::Add(twice, hn::ShiftLeft<20>(sample))), Bytes(), words);
}

std::size_t Grey10(const std::uint16_t* samples, std::uint8_t* words, std::size_t count) {
  constexpr std::size_t kLine = 16;  // samples whose words fill a line of the cache
  const std::size_t step = hn::Lanes(Longs());
  std::size_t done = 0;
  for (; done + kLine <= count; done += kLine) {
    prefetchResult(words + 4 * done, 4 * kLine);
    for (std::size_t i = done; i < done + kLine; i += step) convert(samples + i, words + 4 * i);
  }
  return done;
}
#endif

}  // namespace
}  // namespace orvik::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvik {

HWY_EXPORT(Grey10);

std::size_t grey10Run(const std::uint16_t* samples, std::uint8_t* words,
                      std::size_t count) noexcept {
  return HWY_DYNAMIC_DISPATCH(Grey10)(samples, words, count);
}

}  // namespace orvik
#endif
