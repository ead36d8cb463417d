// SPDX-License-Identifier: MIT
// Each 16-bit lane holds a pair of pixels: an even column in the low byte, the odd one beside it in
// the high byte. Two loads of a row, one pixel to the left and one to the right, give a pair and
// both its neighbours.
//
// A gain is a multiplication here: with M = ceil(gain * 16384 / 50), the upper half of 4 * i * M is
// floor(i * gain / 50) for all gains from 1 to 99 and all samples i. Means need no shift first: the
// upper half of (sum of four & ~3) * M, or of (sum of two & ~1) * 2 * M, gives the same.
#include "algorithm/vectors/demosaic_run.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/demosaic_run.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "algorithm/vectors/luminance_lanes.inc"
#include "algorithm/vectors/portable.h"
#include "algorithm/vectors/prefetch.h"

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

#if ORVIK_PORTABLE_TARGET
// Without vector instructions the caller does the cells one by one.
bool Demosaic(const CellRun&, std::uint16_t, std::uint16_t) { return false; }
bool MosaicLuminance(const CellRun&, std::uint16_t, std::uint16_t) { return false; }
#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<std::uint16_t>;
using Pairs = hn::Vec<Words>;

/// A row of pairs with their neighbours.
struct Row {
  Pairs beforeEven;  ///< the odd column to the left
  Pairs even;
  Pairs odd;
  Pairs afterOdd;  ///< the even column to the right
};

HWY_INLINE Row load(const std::uint8_t* pixel) {
  const Words words;
  const hn::Repartition<std::uint8_t, Words> bytes;
  const auto low = hn::Set(words, 0xFF);
  const Pairs left = hn::BitCast(words, hn::LoadU(bytes, pixel - 1));
  const Pairs right = hn::BitCast(words, hn::LoadU(bytes, pixel + 1));
  return {hn::And(left, low), hn::ShiftRight<8>(left), hn::And(right, low),
          hn::ShiftRight<8>(right)};
}

struct Colours {
  Pairs blue, green, red;
};

/// The factor of a gain, and twice it.
struct Factor {
  explicit HWY_INLINE Factor(std::uint16_t factor)
      : once(hn::Set(Words(), factor)),
        twice(hn::Set(Words(), static_cast<std::uint16_t>(2 * factor))) {}
  Pairs once, twice;
};

HWY_INLINE Pairs own(Pairs sample, const Factor& factor) {
  return hn::MulHigh(hn::ShiftLeft<2>(sample), factor.once);
}
HWY_INLINE Pairs meanOfTwo(Pairs sum, const Factor& factor) {
  return hn::MulHigh(hn::And(sum, hn::Set(Words(), 0xFFFE)), factor.twice);
}
HWY_INLINE Pairs meanOfFour(Pairs sum, const Factor& factor) {
  return hn::MulHigh(hn::And(sum, hn::Set(Words(), 0xFFFC)), factor.once);
}

/// The pixels of one row. Blue and red may be above 255, which stands for 255.
struct ColourPairs {
  Colours even, odd;
};

#if HWY_TARGET == HWY_AVX3_DL
/// Stores rows of 64 pixels. Packing limits to 255 and leaves, in each 16 bytes, the even columns
/// before the odd ones; the permutations put that right.
class RowStore {
 public:
  RowStore() {
    alignas(64) std::uint8_t places[64];
    for (int part = 0; part < kParts; ++part) {
      for (int i = 0; i < 64; ++i) {
        const int pixel = (64 * part + i) / 3;
        places[i] = static_cast<std::uint8_t>(pixel / 16 * 16 + pixel % 2 * 8 + pixel % 16 / 2);
      }
      places_[part] = _mm512_load_si512(places);
    }
  }

  HWY_INLINE void operator()(const ColourPairs& pairs, std::uint8_t* bgr) const {
    // Every third byte, from the first, the second and the third on.
    constexpr std::uint64_t kThirds[] = {0x9249249249249249, 0x2492492492492492,
                                         0x4924924924924924};
    const __m512i blue = _mm512_packus_epi16(pairs.even.blue.raw, pairs.odd.blue.raw);
    const __m512i green = _mm512_packus_epi16(pairs.even.green.raw, pairs.odd.green.raw);
    const __m512i red = _mm512_packus_epi16(pairs.even.red.raw, pairs.odd.red.raw);
    for (int part = 0; part < kParts; ++part) {
      const __m512i& places = places_[part];
      __m512i all = _mm512_permutexvar_epi8(places, blue);
      // The three parts begin with blue, with green and with red.
      all = _mm512_mask_permutexvar_epi8(all, kThirds[(4 - part) % 3], places, green);
      all = _mm512_mask_permutexvar_epi8(all, kThirds[(5 - part) % 3], places, red);
      _mm512_storeu_si512(bgr + 64 * part, all);
    }
  }

 private:
  static constexpr int kParts = 3;
  __m512i places_[kParts];
};
#else
/// The bytes of both columns, limited to 255.
HWY_INLINE hn::Vec<hn::Repartition<std::uint8_t, Words>> join(Pairs even, Pairs odd) {
  const hn::Repartition<std::uint8_t, Words> bytes;
  const auto most = hn::Set(Words(), 0xFF);
  return hn::BitCast(bytes, hn::Or(hn::Min(even, most), hn::ShiftLeft<8>(hn::Min(odd, most))));
}

/// Stores rows of pixels.
struct RowStore {
  HWY_INLINE void operator()(const ColourPairs& pairs, std::uint8_t* bgr) const {
    const hn::Repartition<std::uint8_t, Words> bytes;
    const auto green =
        hn::BitCast(bytes, hn::Or(pairs.even.green, hn::ShiftLeft<8>(pairs.odd.green)));
    hn::StoreInterleaved3(join(pairs.even.blue, pairs.odd.blue), green,
                          join(pairs.even.red, pairs.odd.red), bytes, bgr);
  }
};
#endif

/// Stores blue, green and red of each pixel.
struct ColourSink {
  static constexpr std::ptrdiff_t kBytes = 3;

  HWY_INLINE void put(const ColourPairs& upper, const ColourPairs& lower, std::uint8_t* bgr,
                      std::ptrdiff_t width) const {
    std::uint8_t* const next = bgr + kBytes * width;
    const std::size_t bytes = 6 * hn::Lanes(Words());
    prefetchResult(bgr, bytes);
    prefetchResult(next, bytes);
    storeRow(upper, bgr);
    storeRow(lower, next);
  }

 private:
  RowStore storeRow;
};

/// Stores the luminance of each pixel.
struct LuminanceSink {
  static constexpr std::ptrdiff_t kBytes = 1;

#if HWY_ARCH_X86
  static HWY_INLINE lum::TwoSamples samplesOf(const ColourPairs& pairs) {
    const auto& [even, odd] = pairs;
    return {lum::packed(even.blue, odd.blue), lum::packed(even.green, odd.green),
            lum::packed(even.red, odd.red)};
  }
#else
  struct TwoSamples {
    lum::Samples one, other;
  };
  static HWY_INLINE lum::Samples limited(const Colours& colours) {
    const auto most = hn::Set(Words(), 0xFF);
    return {hn::Min(colours.blue, most), colours.green, hn::Min(colours.red, most)};
  }
  static HWY_INLINE TwoSamples samplesOf(const ColourPairs& pairs) {
    return {limited(pairs.even), limited(pairs.odd)};
  }
#endif
  static HWY_INLINE void store(Pairs even, Pairs odd, std::uint8_t* out) {
    const hn::Repartition<std::uint8_t, Words> bytes;
    hn::StoreU(hn::BitCast(bytes, hn::Or(even, hn::ShiftLeft<8>(odd))), bytes, out);
  }

  HWY_INLINE void put(const ColourPairs& upper, const ColourPairs& lower, std::uint8_t* out,
                      std::ptrdiff_t width) const {
    prefetchResult(out, kBytes);
    prefetchResult(out + width, kBytes);
    const auto ofUpper = samplesOf(upper);
    const auto ofLower = samplesOf(lower);
    lum::Quotient a = lum::quotientOf(ofUpper.one);
    lum::Quotient b = lum::quotientOf(ofUpper.other);
    lum::Quotient c = lum::quotientOf(ofLower.one);
    lum::Quotient d = lum::quotientOf(ofLower.other);
    const Pairs least =
        hn::Min(hn::Min(a.remainder, b.remainder), hn::Min(c.remainder, d.remainder));
    if (HWY_UNLIKELY(lum::needCorrection(least))) {
      a.value = lum::corrected(a, ofUpper.one);
      b.value = lum::corrected(b, ofUpper.other);
      c.value = lum::corrected(c, ofLower.one);
      d.value = lum::corrected(d, ofLower.other);
    }
    store(a.value, b.value, out);
    store(c.value, d.value, out + width);
  }
};

/// One row of the cells. `kColourX` is the column of its red or blue site; `kIsRed` tells which.
template <int kColourX, bool kIsRed>
HWY_INLINE ColourPairs interpolate(const Row& above, const Row& here, const Row& below,
                                   const Factor& red, const Factor& blue) {
  const Factor& mine = kIsRed ? red : blue;
  const Factor& other = kIsRed ? blue : red;
  Pairs site, beside, upright, diagonal;  // of the coloured site: itself, sums of its neighbours
  Pairs green, greenBeside, greenUpright;
  if constexpr (kColourX == 0) {
    site = here.even;
    beside = hn::Add(here.beforeEven, here.odd);
    upright = hn::Add(above.even, below.even);
    diagonal = hn::Add(hn::Add(above.beforeEven, above.odd), hn::Add(below.beforeEven, below.odd));
    green = here.odd;
    greenBeside = hn::Add(here.even, here.afterOdd);
    greenUpright = hn::Add(above.odd, below.odd);
  } else {
    site = here.odd;
    beside = hn::Add(here.even, here.afterOdd);
    upright = hn::Add(above.odd, below.odd);
    diagonal = hn::Add(hn::Add(above.even, above.afterOdd), hn::Add(below.even, below.afterOdd));
    green = here.even;
    greenBeside = hn::Add(here.beforeEven, here.odd);
    greenUpright = hn::Add(above.even, below.even);
  }
  const Pairs siteMine = own(site, mine);
  const Pairs siteOther = meanOfFour(diagonal, other);
  const Pairs greenMine = meanOfTwo(greenBeside, mine);
  const Pairs greenOther = meanOfTwo(greenUpright, other);
  const Pairs siteGreen = hn::ShiftRight<2>(hn::Add(beside, upright));
  const Colours atSite{kIsRed ? siteOther : siteMine, siteGreen, kIsRed ? siteMine : siteOther};
  const Colours atGreen{kIsRed ? greenOther : greenMine, green, kIsRed ? greenMine : greenOther};
  return kColourX == 0 ? ColourPairs{atSite, atGreen} : ColourPairs{atGreen, atSite};
}

template <class Sink, int kRedX, int kRedY>
HWY_INLINE void makeCells(const CellRun& run, const Factor& red, const Factor& blue) {
  const std::ptrdiff_t width = run.width;
  const auto step = static_cast<std::ptrdiff_t>(2 * hn::Lanes(Words()));
  constexpr int kUpperX = kRedY == 0 ? kRedX : 1 - kRedX;
  const Sink sink;
  for (std::ptrdiff_t x = 0;;) {
    const std::uint8_t* const pixel = run.raw + x;
    // The rows that the next run reads besides those of this one.
    hwy::Prefetch(pixel + 3 * width);
    hwy::Prefetch(pixel + 4 * width);
    const Row above = load(pixel - width);
    const Row upper = load(pixel);
    const Row lower = load(pixel + width);
    const Row below = load(pixel + 2 * width);
    sink.put(interpolate<kUpperX, kRedY == 0>(above, upper, lower, red, blue),
             interpolate<1 - kUpperX, kRedY == 1>(upper, lower, below, red, blue),
             run.out + Sink::kBytes * x, width);
    if (x + step >= run.columns) return;
    x = std::min(x + step, run.columns - step);  // the last step may do some cells twice
  }
}

template <class Sink>
HWY_INLINE bool makeRun(const CellRun& run, std::uint16_t redFactor, std::uint16_t blueFactor) {
  if (run.columns < static_cast<int>(2 * hn::Lanes(Words()))) return false;
  const Factor red(redFactor);
  const Factor blue(blueFactor);
  if (run.redY == 0) {
    run.redX == 0 ? makeCells<Sink, 0, 0>(run, red, blue) : makeCells<Sink, 1, 0>(run, red, blue);
  } else {
    run.redX == 0 ? makeCells<Sink, 0, 1>(run, red, blue) : makeCells<Sink, 1, 1>(run, red, blue);
  }
  return true;
}

bool Demosaic(const CellRun& run, std::uint16_t redFactor, std::uint16_t blueFactor) {
  return makeRun<ColourSink>(run, redFactor, blueFactor);
}

bool MosaicLuminance(const CellRun& run, std::uint16_t redFactor, std::uint16_t blueFactor) {
  return makeRun<LuminanceSink>(run, redFactor, blueFactor);
}
#endif

}  // namespace
}  // namespace orvik::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvik {

HWY_EXPORT(Demosaic);
HWY_EXPORT(MosaicLuminance);

namespace {

std::uint16_t factorOf(int gain) { return static_cast<std::uint16_t>((gain * 16384 + 49) / 50); }

}  // namespace

bool demosaicRun(const CellRun& run, WhiteBalance balance) noexcept {
  return HWY_DYNAMIC_DISPATCH(Demosaic)(run, factorOf(balance.red), factorOf(balance.blue));
}

bool mosaicLuminanceRun(const CellRun& run, WhiteBalance balance) noexcept {
  return HWY_DYNAMIC_DISPATCH(MosaicLuminance)(run, factorOf(balance.red), factorOf(balance.blue));
}

}  // namespace orvik
#endif
