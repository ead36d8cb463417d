// SPDX-License-Identifier: MIT
// Works in blocks: first the rows are added, column by column, into a
// buffer; then the neighbours in the buffer are added. The buffer stays in the first-level cache,
// and interleaved loads from it separate the neighbours.
#include "algorithm/vectors/bin_run.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/bin_run.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "algorithm/vectors/portable.h"

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

using Rows8 = std::span<const std::uint8_t* const>;
using Rows16 = std::span<const std::uint16_t* const>;

#if ORVIK_PORTABLE_TARGET
std::size_t Sum(Rows8, std::uint8_t*, std::size_t) { return 0; }
std::size_t SumMosaic(Rows8, std::uint8_t*, std::size_t) { return 0; }
std::size_t Mean(Rows16, std::uint16_t*, std::size_t) { return 0; }
std::size_t SumQuotients(Rows16, std::uint16_t*, std::size_t) { return 0; }
#else

namespace hn = hwy::HWY_NAMESPACE;

using Longs = hn::ScalableTag<std::uint32_t>;
using Words = hn::Repartition<std::uint16_t, Longs>;
using Bytes = hn::Repartition<std::uint8_t, Longs>;

/// Results in a block, in units: a unit is a sample, or a pair of samples in a mosaic.
constexpr std::size_t kBlock = 512;

/// Combines with `add`, for each lane, kBin neighbouring units of those that begin at `units`.
template <std::size_t kBin, class Tag, class Add>
HWY_INLINE hn::Vec<Tag> addNeighbours(Tag tag, const hn::TFromD<Tag>* units, Add add) {
  hn::Vec<Tag> a, b, c, d;
  if constexpr (kBin == 2) {
    hn::LoadInterleaved2(tag, units, a, b);
    return add(a, b);
  } else if constexpr (kBin == 3) {
    hn::LoadInterleaved3(tag, units, a, b, c);
    return add(add(a, b), c);
  } else {
    hn::LoadInterleaved4(tag, units, a, b, c, d);
    return add(add(a, b), add(c, d));
  }
}

/// Calls `work(first, count)` for blocks of whole vectors; all blocks but the last have kBlock
/// units.
/// @return the units done.
template <class Work>
HWY_INLINE std::size_t forBlocks(std::size_t units, std::size_t lanes, Work work) {
  const std::size_t whole = units / lanes * lanes;
  for (std::size_t first = 0; first < whole; first += kBlock) {
    work(first, std::min(kBlock, whole - first));
  }
  return whole;
}

/// Separating every third unit in a vector of 64 bytes takes longer than in two of 32.
template <std::size_t kBin, typename Unit>
using BytesToSum = std::conditional_t<kBin == 3, hn::CappedTag<std::uint8_t, 32>, Bytes>;

/// @tparam Unit std::uint8_t, or std::uint16_t for pairs
template <std::size_t kBin, typename Unit>
std::size_t sumBytes(Rows8 rows, std::uint8_t* out, std::size_t units) {
  const BytesToSum<kBin, Unit> bytes;
  const hn::Repartition<Unit, decltype(bytes)> tag;
  alignas(64) Unit buffer[kBlock * kBin];
  const auto add = [](auto a, auto b) HWY_ATTR {
    const BytesToSum<kBin, Unit> in;
    const hn::Repartition<Unit, decltype(in)> back;
    return hn::BitCast(back, hn::SaturatedAdd(hn::BitCast(in, a), hn::BitCast(in, b)));
  };
  const std::size_t lanes = hn::Lanes(tag);
  const std::size_t step = hn::Lanes(bytes);
  return forBlocks(units, lanes, [&](std::size_t first, std::size_t count) HWY_ATTR {
    auto* const sums = reinterpret_cast<std::uint8_t*>(buffer);
    const std::size_t from = first * kBin * sizeof(Unit);
    for (std::size_t i = 0; i < count * kBin * sizeof(Unit); i += step) {
      auto sum = hn::LoadU(bytes, rows[0] + from + i);
      for (std::size_t row = 1; row < kBin; ++row) {
        sum = hn::SaturatedAdd(sum, hn::LoadU(bytes, rows[row] + from + i));
      }
      hn::StoreU(sum, bytes, sums + i);
    }
    for (std::size_t i = 0; i < count; i += lanes) {
      const auto result = addNeighbours<kBin>(tag, buffer + kBin * i, add);
      hn::StoreU(hn::BitCast(bytes, result), bytes, out + (first + i) * sizeof(Unit));
    }
  });
}

/// Divides by kBin * kBin, truncating.
template <std::size_t kBin>
HWY_INLINE hn::Vec<Words> quotient(hn::Vec<Words> samples) {
  if constexpr (kBin == 2) return hn::ShiftRight<2>(samples);
  if constexpr (kBin == 4) return hn::ShiftRight<4>(samples);
  // 58255 / 2^19 is greater than 1 / 9 by so little that all 16-bit quotients are exact.
  return hn::ShiftRight<3>(hn::MulHigh(samples, hn::Set(Words(), 58255)));
}

template <std::size_t kBin>
std::size_t sumQuotients(Rows16 rows, std::uint16_t* out, std::size_t pairs) {
  const Words words;
  const Longs longs;
  alignas(64) std::uint32_t buffer[kBlock * kBin];
  const auto add = [](auto a, auto b) HWY_ATTR {
    const Words in;
    return hn::BitCast(Longs(), hn::Add(hn::BitCast(in, a), hn::BitCast(in, b)));
  };
  const std::size_t lanes = hn::Lanes(longs);
  const std::size_t step = hn::Lanes(words);
  return forBlocks(pairs, lanes, [&](std::size_t first, std::size_t count) HWY_ATTR {
    auto* const sums = reinterpret_cast<std::uint16_t*>(buffer);
    const std::size_t from = first * kBin * 2;
    for (std::size_t i = 0; i < count * kBin * 2; i += step) {
      auto sum = quotient<kBin>(hn::LoadU(words, rows[0] + from + i));
      for (std::size_t row = 1; row < kBin; ++row) {
        sum = hn::Add(sum, quotient<kBin>(hn::LoadU(words, rows[row] + from + i)));
      }
      hn::StoreU(sum, words, sums + i);
    }
    for (std::size_t i = 0; i < count; i += lanes) {
      const auto result = addNeighbours<kBin>(longs, buffer + kBin * i, add);
      hn::StoreU(hn::BitCast(words, result), words, out + (first + i) * 2);
    }
  });
}

/// @param sums below 2^24
template <std::size_t kBin>
HWY_INLINE hn::Vec<hn::RebindToSigned<Longs>> meanOf(hn::Vec<Longs> sums) {
  const hn::RebindToSigned<Longs> signs;
  const auto whole = hn::BitCast(signs, sums);
  if constexpr (kBin == 2) return hn::ShiftRight<2>(whole);
  if constexpr (kBin == 4) return hn::ShiftRight<4>(whole);
  // The half keeps exact multiples of 9 above their quotient by more than the error of a float.
  const hn::Rebind<float, Longs> floats;
  const auto half = hn::Set(floats, 0.5F);
  const auto ninth = hn::Set(floats, 1.0F / 9.0F);
  return hn::ConvertTo(signs, hn::Mul(hn::Add(hn::ConvertTo(floats, whole), half), ninth));
}

template <std::size_t kBin>
std::size_t meanOfWords(Rows16 rows, std::uint16_t* out, std::size_t columns) {
  const Longs longs;
  const hn::Rebind<std::uint16_t, Longs> words;
  alignas(64) std::uint32_t buffer[kBlock * kBin];
  const auto add = [](auto a, auto b) HWY_ATTR { return hn::Add(a, b); };
  const std::size_t lanes = hn::Lanes(longs);
  return forBlocks(columns, lanes, [&](std::size_t first, std::size_t count) HWY_ATTR {
    const std::size_t from = first * kBin;
    for (std::size_t i = 0; i < count * kBin; i += lanes) {
      auto sum = hn::PromoteTo(longs, hn::LoadU(words, rows[0] + from + i));
      for (std::size_t row = 1; row < kBin; ++row) {
        sum = hn::Add(sum, hn::PromoteTo(longs, hn::LoadU(words, rows[row] + from + i)));
      }
      hn::StoreU(sum, longs, buffer + i);
    }
    for (std::size_t i = 0; i < count; i += lanes) {
      const auto mean = meanOf<kBin>(addNeighbours<kBin>(longs, buffer + kBin * i, add));
      hn::StoreU(hn::DemoteTo(words, mean), words, out + first + i);
    }
  });
}

std::size_t Sum(Rows8 rows, std::uint8_t* out, std::size_t columns) {
  if (rows.size() == 2) return sumBytes<2, std::uint8_t>(rows, out, columns);
  if (rows.size() == 3) return sumBytes<3, std::uint8_t>(rows, out, columns);
  return rows.size() == 4 ? sumBytes<4, std::uint8_t>(rows, out, columns) : 0;
}

std::size_t SumMosaic(Rows8 rows, std::uint8_t* out, std::size_t columns) {
  if (rows.size() == 2) return 2 * sumBytes<2, std::uint16_t>(rows, out, columns / 2);
  if (rows.size() == 3) return 2 * sumBytes<3, std::uint16_t>(rows, out, columns / 2);
  return rows.size() == 4 ? 2 * sumBytes<4, std::uint16_t>(rows, out, columns / 2) : 0;
}

std::size_t Mean(Rows16 rows, std::uint16_t* out, std::size_t columns) {
  if (rows.size() == 2) return meanOfWords<2>(rows, out, columns);
  if (rows.size() == 3) return meanOfWords<3>(rows, out, columns);
  return rows.size() == 4 ? meanOfWords<4>(rows, out, columns) : 0;
}

std::size_t SumQuotients(Rows16 rows, std::uint16_t* out, std::size_t columns) {
  if (rows.size() == 2) return 2 * sumQuotients<2>(rows, out, columns / 2);
  if (rows.size() == 3) return 2 * sumQuotients<3>(rows, out, columns / 2);
  return rows.size() == 4 ? 2 * sumQuotients<4>(rows, out, columns / 2) : 0;
}
#endif

}  // namespace
}  // namespace orvik::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvik {

HWY_EXPORT(Sum);
HWY_EXPORT(SumMosaic);
HWY_EXPORT(Mean);
HWY_EXPORT(SumQuotients);

std::size_t binSumRun(std::span<const std::uint8_t* const> rows, std::uint8_t* out,
                      std::size_t columns) noexcept {
  return HWY_DYNAMIC_DISPATCH(Sum)(rows, out, columns);
}

std::size_t binMosaicRun(std::span<const std::uint8_t* const> rows, std::uint8_t* out,
                         std::size_t columns) noexcept {
  return HWY_DYNAMIC_DISPATCH(SumMosaic)(rows, out, columns);
}

std::size_t binMeanRun(std::span<const std::uint16_t* const> rows, std::uint16_t* out,
                       std::size_t columns) noexcept {
  return HWY_DYNAMIC_DISPATCH(Mean)(rows, out, columns);
}

std::size_t binMosaicRun(std::span<const std::uint16_t* const> rows, std::uint16_t* out,
                         std::size_t columns) noexcept {
  return HWY_DYNAMIC_DISPATCH(SumQuotients)(rows, out, columns);
}

}  // namespace orvik
#endif
