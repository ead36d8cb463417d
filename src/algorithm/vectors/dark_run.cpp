// SPDX-License-Identifier: MIT
#include "algorithm/vectors/dark_run.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/dark_run.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR
std::size_t Subtract(std::uint8_t*, std::size_t, std::uint16_t, const std::uint16_t*) { return 0; }
#else
std::size_t Subtract(std::uint8_t* samples, std::size_t count, std::uint16_t offset,
                     const std::uint16_t* dark) {
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<std::uint16_t> words;
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

std::size_t subtractDarkRun(std::uint8_t* samples, std::size_t count, std::uint16_t offset,
                            const std::uint16_t* dark) noexcept {
  return HWY_DYNAMIC_DISPATCH(Subtract)(samples, count, offset, dark);
}

}  // namespace orvik
#endif
