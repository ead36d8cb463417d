// SPDX-License-Identifier: MIT
#include "algorithm/vectors/mirror_run.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/mirror_run.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "algorithm/vectors/portable.h"

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

#if ORVIK_PORTABLE_TARGET
std::size_t Swap8(std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
std::size_t Swap16(std::uint16_t*, std::uint16_t*, std::size_t) { return 0; }
#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<std::uint16_t>;
using Bytes = hn::Repartition<std::uint8_t, Words>;

HWY_INLINE hn::Vec<Words> mirrored(Words words, hn::Vec<Words> samples) {
  return hn::Reverse(words, samples);
}

HWY_INLINE hn::Vec<Bytes> mirrored(Bytes bytes, hn::Vec<Bytes> samples) {
  const Words words;
  const auto pairs = hn::Reverse(words, hn::BitCast(words, samples));
  return hn::BitCast(bytes, hn::Or(hn::ShiftLeft<8>(pairs), hn::ShiftRight<8>(pairs)));
}

template <class Tag, typename Sample>
HWY_INLINE std::size_t swap(Tag tag, Sample* front, Sample* backEnd, std::size_t count) {
  const std::size_t step = hn::Lanes(tag);
  std::size_t done = 0;
  for (; done + step <= count; done += step) {
    Sample* const left = front + done;
    Sample* const right = backEnd - done - step;
    const auto toRight = mirrored(tag, hn::LoadU(tag, left));
    const auto toLeft = mirrored(tag, hn::LoadU(tag, right));
    hn::StoreU(toLeft, tag, left);
    hn::StoreU(toRight, tag, right);
  }
  return done;
}

std::size_t Swap8(std::uint8_t* front, std::uint8_t* backEnd, std::size_t count) {
  return swap(Bytes(), front, backEnd, count);
}
std::size_t Swap16(std::uint16_t* front, std::uint16_t* backEnd, std::size_t count) {
  return swap(Words(), front, backEnd, count);
}
#endif

}  // namespace
}  // namespace orvik::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvik {

HWY_EXPORT(Swap8);
HWY_EXPORT(Swap16);

std::size_t swapMirroredRun(std::uint8_t* front, std::uint8_t* backEnd,
                            std::size_t count) noexcept {
  return HWY_DYNAMIC_DISPATCH(Swap8)(front, backEnd, count);
}

std::size_t swapMirroredRun(std::uint16_t* front, std::uint16_t* backEnd,
                            std::size_t count) noexcept {
  return HWY_DYNAMIC_DISPATCH(Swap16)(front, backEnd, count);
}

}  // namespace orvik
#endif
