// SPDX-License-Identifier: MIT
//
// A vector instruction looks up in a table of 16 bytes on x86; in one of 128 if the processor
// permutes bytes across two vectors; in one of 64 on 64-bit ARM.
//
// With 16, the table is cut into blocks, each stored as its exclusive or with the block before. The
// index is lowered by 16 from block to block; after its own block it is negative and looks up 0. So
// the exclusive or of all lookups combines the blocks up to its own, which gives the entry. That
// takes an instruction for which only sign and lowest four bits of an index count, as x86 has it.
#include "algorithm/vectors/table_run.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "algorithm/vectors/table_run.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "algorithm/vectors/portable.h"

HWY_BEFORE_NAMESPACE();
namespace orvik::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;  // NOLINT(misc-unused-alias-decls): not every target has vectors

// With vectors of 16 bytes the differences take 1.4 times as long as the caller's loop.
#if ORVIK_PORTABLE_TARGET || HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4 || \
    !(HWY_ARCH_X86 || HWY_ARCH_ARM_A64)
std::size_t Apply(std::uint8_t*, std::size_t, const std::uint8_t*) { return 0; }
#elif HWY_ARCH_ARM_A64
std::size_t Apply(std::uint8_t* samples, std::size_t count, const std::uint8_t* table) {
  const uint8x16x4_t first = vld1q_u8_x4(table);
  const uint8x16x4_t second = vld1q_u8_x4(table + 64);
  const uint8x16x4_t third = vld1q_u8_x4(table + 128);
  const uint8x16x4_t fourth = vld1q_u8_x4(table + 192);
  const uint8x16_t block = vdupq_n_u8(64);
  std::size_t done = 0;
  for (; done + 16 <= count; done += 16) {
    uint8x16_t index = vld1q_u8(samples + done);
    uint8x16_t found = vqtbl4q_u8(first, index);  // 0 where the index is above 63
    index = vsubq_u8(index, block);
    found = vqtbx4q_u8(found, second, index);  // keeps what was found there
    index = vsubq_u8(index, block);
    found = vqtbx4q_u8(found, third, index);
    index = vsubq_u8(index, block);
    vst1q_u8(samples + done, vqtbx4q_u8(found, fourth, index));
  }
  return done;
}
#elif HWY_TARGET == HWY_AVX3_DL
std::size_t Apply(std::uint8_t* samples, std::size_t count, const std::uint8_t* table) {
  const hn::ScalableTag<std::uint8_t> bytes;
  const auto first = hn::LoadU(bytes, table).raw;
  const auto second = hn::LoadU(bytes, table + 64).raw;
  const auto third = hn::LoadU(bytes, table + 128).raw;
  const auto fourth = hn::LoadU(bytes, table + 192).raw;
  std::size_t done = 0;
  for (; done + 64 <= count; done += 64) {
    const auto index = hn::LoadU(bytes, samples + done).raw;
    const auto lower = _mm512_permutex2var_epi8(first, index, second);
    const auto upper = _mm512_permutex2var_epi8(third, index, fourth);
    _mm512_storeu_si512(samples + done,
                        _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), lower, upper));
  }
  return done;
}
#else
using Bytes = hn::ScalableTag<std::uint8_t>;
using Indices = hn::Vec<Bytes>;

/// Half of the table, each block as its exclusive or with the one before.
struct Half {
  static constexpr std::size_t kBlocks = 8;

  explicit HWY_INLINE Half(const std::uint8_t* entries) {
    for (std::size_t n = 0; n < kBlocks; ++n) {
      for (std::size_t i = 0; i < 16; ++i) {
        const std::uint8_t before = n == 0 ? std::uint8_t{0} : entries[16 * (n - 1) + i];
        differences[16 * n + i] = static_cast<std::uint8_t>(entries[16 * n + i] ^ before);
      }
    }
  }
  alignas(16) std::uint8_t differences[16 * kBlocks];
};

/// @param index 0 to 127; the result for others is undefined
HWY_INLINE Indices lookUp(const Half& half, Indices index) {
  const Bytes bytes;
  const auto block = hn::Set(bytes, 16);
  Indices found = hn::Zero(bytes);
  for (std::size_t n = 0; n < Half::kBlocks; ++n) {
    const auto differences = hn::LoadDup128(bytes, half.differences + 16 * n);
    found = hn::Xor(found, hn::TableLookupBytesOr0(differences, index));
    index = hn::Sub(index, block);
  }
  return found;
}

std::size_t Apply(std::uint8_t* samples, std::size_t count, const std::uint8_t* table) {
  const Bytes bytes;
  const hn::RebindToSigned<Bytes> signs;
  const Half lower(table);
  const Half upper(table + 128);
  const auto middle = hn::Set(bytes, 128);
  const std::size_t step = hn::Lanes(bytes);
  std::size_t done = 0;
  for (; done + step <= count; done += step) {
    const auto index = hn::LoadU(bytes, samples + done);
    const auto isUpper = hn::RebindMask(bytes, hn::Lt(hn::BitCast(signs, index), hn::Zero(signs)));
    const auto found =
        hn::IfThenElse(isUpper, lookUp(upper, hn::Sub(index, middle)), lookUp(lower, index));
    hn::StoreU(found, bytes, samples + done);
  }
  return done;
}
#endif

}  // namespace
}  // namespace orvik::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvik {

HWY_EXPORT(Apply);

std::size_t applyTableRun(std::uint8_t* samples, std::size_t count,
                          const std::uint8_t* table) noexcept {
  return HWY_DYNAMIC_DISPATCH(Apply)(samples, count, table);
}

}  // namespace orvik
#endif
