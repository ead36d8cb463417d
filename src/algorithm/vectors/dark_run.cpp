// SPDX-License-Identifier: MIT
#include "algorithm/vectors/dark_run.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/dark_run.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "algorithm/vectors/portable.h"

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

#if ORVIK_PORTABLE_TARGET
std::size_t Subtract(std::uint8_t*, std::size_t, std::uint16_t, const std::uint16_t*) { return 0; }
std::size_t BinRow(const DarkRows&, std::uint16_t*, std::size_t, std::int64_t) { return 0; }
#else
namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<std::uint16_t>;
using Pairs = hn::Repartition<std::uint32_t, Words>;
using Lanes = hn::Vec<Words>;

/// A pair of 32 bits holds samples of two columns, that is, of two colours; the pair after it holds
/// the second ones of the same colours.
struct PairsOfRow {
  explicit HWY_INLINE PairsOfRow(const std::uint16_t* samples) {
    const Words words;
    const Pairs pairs;
    const auto first = hn::BitCast(pairs, hn::LoadU(words, samples));
    const auto second = hn::BitCast(pairs, hn::LoadU(words, samples + hn::Lanes(words)));
    left = hn::BitCast(words, hn::ConcatEven(pairs, second, first));
    right = hn::BitCast(words, hn::ConcatOdd(pairs, second, first));
  }
  Lanes left, right;
};

std::size_t BinRow(const DarkRows& rows, std::uint16_t* out, std::size_t count,
                   std::int64_t hotAbove) {
  // With these samples, ten times one of them fits in 16 bits.
  constexpr std::uint16_t kLargest = 6553;
  const Words words;
  const auto largest = hn::Set(words, kLargest);
  const auto coldest = hn::Set(
      words, static_cast<std::uint16_t>(std::clamp<std::int64_t>(hotAbove, -1, kLargest) + 1));
  const auto isHot = [&](Lanes samples)
                         HWY_ATTR { return hn::Eq(hn::Max(samples, coldest), samples); };
  const std::size_t step = hn::Lanes(words);
  std::size_t done = 0;
  for (; done + step <= count; done += step) {
    const PairsOfRow upper(rows.upper + 2 * done);
    const PairsOfRow lower(rows.lower + 2 * done);
    const Lanes most = hn::Max(hn::Max(upper.left, upper.right), hn::Max(lower.left, lower.right));
    if (!hn::AllTrue(words, hn::Eq(hn::Max(most, largest), largest))) return done;
    const Lanes sum = hn::Add(hn::Add(upper.left, upper.right), hn::Add(lower.left, lower.right));
    // (sum + 1) / 4 and (tenths + 4) / 10, truncated, round halves downwards.
    Lanes mean = hn::ShiftRight<2>(hn::Add(sum, hn::Set(words, 1)));
    const auto anyHot = isHot(most);
    if (!hn::AllFalse(words, anyHot)) {
      Lanes hot = lower.right;
      hot = hn::IfThenElse(isHot(upper.right), upper.right, hot);
      hot = hn::IfThenElse(isHot(lower.left), lower.left, hot);
      hot = hn::IfThenElse(isHot(upper.left), upper.left, hot);
      const Lanes tenths =
          hn::Add(hn::Add(sum, hn::Set(words, 4)), hn::Mul(hot, hn::Set(words, 6)));
      // 52429 / 2^19 is close enough to 1 / 10 for all values of 16 bits.
      const Lanes weighted = hn::ShiftRight<3>(hn::MulHigh(tenths, hn::Set(words, 52429)));
      mean = hn::IfThenElse(anyHot, weighted, mean);
    }
    hn::StoreU(mean, words, out + done);
  }
  return done;
}

std::size_t Subtract(std::uint8_t* samples, std::size_t count, std::uint16_t offset,
                     const std::uint16_t* dark) {
  const Words words;
  const hn::RebindToSigned<decltype(words)> signs;
  const hn::Rebind<std::uint8_t, decltype(words)> bytes;
  const auto lift = hn::Set(words, offset);
  const std::size_t step = hn::Lanes(words);
  std::size_t done = 0;
  for (; done + step <= count; done += step) {
    const auto lifted = hn::Add(hn::PromoteTo(words, hn::LoadU(bytes, samples + done)), lift);
    const auto difference = hn::SaturatedSub(lifted, hn::LoadU(words, dark + done));
    hn::StoreU(hn::DemoteTo(bytes, hn::BitCast(signs, difference)), bytes, samples + done);
  }
  return done;
}
#endif

}  // namespace
}  // namespace orvik::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvik {

HWY_EXPORT(Subtract);
HWY_EXPORT(BinRow);

std::size_t subtractDarkRun(std::uint8_t* samples, std::size_t count, std::uint16_t offset,
                            const std::uint16_t* dark) noexcept {
  return HWY_DYNAMIC_DISPATCH(Subtract)(samples, count, offset, dark);
}

std::size_t binDarkRun(const DarkRows& rows, std::uint16_t* out, std::size_t count,
                       std::int64_t hotAbove) noexcept {
  return HWY_DYNAMIC_DISPATCH(BinRow)(rows, out, count, hotAbove);
}

}  // namespace orvik
#endif
