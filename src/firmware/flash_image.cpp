// SPDX-License-Identifier: MIT
#include "firmware/flash_image.h"

#include <algorithm>
#include <vector>

namespace orvik::firmware {
namespace {

constexpr std::size_t kPageBytes = FlashPort::kPageBytes;
constexpr std::size_t kPieceBytes = FlashPort::kPieceBytes;
constexpr int kAttempts = 3;

void tell(const FlashProgress& progress, FlashStep step, std::size_t done, std::size_t total) {
  if (progress) progress(step, std::min(done, total), total);
}

std::vector<std::uint8_t> wholePages(std::span<const std::uint8_t> part) {
  std::vector<std::uint8_t> pages(part.begin(), part.end());
  pages.resize((part.size() + kPageBytes - 1) / kPageBytes * kPageBytes);
  return pages;
}

bool readPiece(FlashPort& port, std::uint32_t address, std::span<std::uint8_t> piece) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (port.read(address, piece)) return true;
  }
  return false;
}

}  // namespace

FX3_FWDWNLOAD_ERROR_CODE writeFlashImage(FlashPort& port, std::span<const std::uint8_t> image,
                                         const FlashProgress& progress) {
  if (image.size() > FlashPort::kMaxBytes) return FWDWNLOAD_NO_FILE;
  const std::size_t total = image.size();
  std::uint32_t sector = 0;
  for (std::size_t at = 0; at < total; at += FlashPort::kSectorBytes, ++sector) {
    tell(progress, FlashStep::kErase, at, total);
    if (!port.eraseSector(sector)) return FWDWNLOAD_ERASE_FAILED;
  }
  for (std::size_t at = 0; at < total; at += kPieceBytes) {
    tell(progress, FlashStep::kWrite, at, total);
    const auto piece = wholePages(image.subspan(at, std::min(kPieceBytes, total - at)));
    if (!port.write(static_cast<std::uint32_t>(at), piece)) return FWDWNLOAD_FAILED;
  }
  tell(progress, FlashStep::kWrite, total, total);
  return FWDWNLOAD_SUCCESS;
}

bool readFlash(FlashPort& port, std::uint32_t address, std::span<std::uint8_t> bytes,
               const FlashProgress& progress) {
  for (std::size_t at = 0; at < bytes.size(); at += kPieceBytes) {
    tell(progress, FlashStep::kRead, at, bytes.size());
    const auto piece = bytes.subspan(at, std::min(kPieceBytes, bytes.size() - at));
    if (!readPiece(port, address + static_cast<std::uint32_t>(at), piece)) return false;
  }
  tell(progress, FlashStep::kRead, bytes.size(), bytes.size());
  return true;
}

bool compareFlashImage(FlashPort& port, std::span<const std::uint8_t> image, bool& same,
                       const FlashProgress& progress) {
  std::vector<std::uint8_t> back(image.size());
  if (!readFlash(port, 0, back, progress)) return false;
  same = std::ranges::equal(back, image);
  return true;
}

}  // namespace orvik::firmware
