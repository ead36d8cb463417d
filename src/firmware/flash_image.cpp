// SPDX-License-Identifier: MIT
#include "firmware/flash_image.h"

#include <algorithm>
#include <vector>

namespace orvik::firmware {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kPageBytes = FlashPort::kPageBytes;
constexpr std::size_t kPieceBytes = FlashPort::kPieceBytes;

void tell(const FlashProgress& progress, FlashStep step, std::size_t done, std::size_t total) {
  if (progress) progress(step, std::min(done, total), total);
}

std::vector<std::uint8_t> wholePages(std::span<const std::uint8_t> part) {
  std::vector<std::uint8_t> pages(part.begin(), part.end());
  pages.resize((part.size() + kPageBytes - 1) / kPageBytes * kPageBytes);
  return pages;
}

template <class Request>
bool untilDone(Request request) {
  for (int attempt = 0; attempt < FlashPort::kAttempts; ++attempt) {
    if (request()) return true;
  }
  return false;
}

/// The part that contains the signature and is written last.
Bytes beginningOf(Bytes image) { return image.first(std::min(kPieceBytes, image.size())); }

bool eraseFor(FlashPort& port, Bytes image, const FlashProgress& progress) {
  std::uint32_t sector = 0;
  for (std::size_t at = 0; at < image.size(); at += FlashPort::kSectorBytes, ++sector) {
    tell(progress, FlashStep::kErase, at, image.size());
    if (!port.eraseSector(sector)) return false;
  }
  return true;
}

bool writePiece(FlashPort& port, std::size_t at, Bytes piece) {
  const auto pages = wholePages(piece);
  return untilDone([&] { return port.write(static_cast<std::uint32_t>(at), pages); });
}

bool writeAllButBeginning(FlashPort& port, Bytes image, const FlashProgress& progress) {
  for (std::size_t at = kPieceBytes; at < image.size(); at += kPieceBytes) {
    tell(progress, FlashStep::kWrite, at - kPieceBytes, image.size());
    if (!writePiece(port, at, image.subspan(at, std::min(kPieceBytes, image.size() - at)))) {
      return false;
    }
  }
  return true;
}

bool writeBeginning(FlashPort& port, Bytes image, const FlashProgress& progress) {
  const Bytes beginning = beginningOf(image);
  tell(progress, FlashStep::kWrite, image.size() - beginning.size(), image.size());
  if (!writePiece(port, 0, beginning)) return false;
  tell(progress, FlashStep::kWrite, image.size(), image.size());
  return true;
}

/// Compares the part after the beginning. @param[out] same changed on success only
bool compareAllButBeginning(FlashPort& port, Bytes image, bool& same) {
  const Bytes rest = image.subspan(beginningOf(image).size());
  std::vector<std::uint8_t> back(rest.size());
  if (!readFlash(port, kPieceBytes, back)) return false;
  same = std::ranges::equal(back, rest);
  return true;
}

}  // namespace

FX3_FWDWNLOAD_ERROR_CODE writeFlashImage(FlashPort& port, std::span<const std::uint8_t> image,
                                         const FlashProgress& progress) {
  if (image.size() > FlashPort::kMaxBytes) return FWDWNLOAD_NO_FILE;
  if (!eraseFor(port, image, progress)) return FWDWNLOAD_ERASE_FAILED;
  const bool written =
      writeAllButBeginning(port, image, progress) && writeBeginning(port, image, progress);
  return written ? FWDWNLOAD_SUCCESS : FWDWNLOAD_FAILED;
}

FX3_FWDWNLOAD_ERROR_CODE writeVerifiedFlashImage(FlashPort& port,
                                                 std::span<const std::uint8_t> image, bool& same,
                                                 const FlashProgress& progress) {
  if (image.size() > FlashPort::kMaxBytes) return FWDWNLOAD_NO_FILE;
  if (!eraseFor(port, image, progress)) return FWDWNLOAD_ERASE_FAILED;
  bool restIsSame = false;
  if (!writeAllButBeginning(port, image, progress) ||
      !compareAllButBeginning(port, image, restIsSame)) {
    return FWDWNLOAD_FAILED;
  }
  if (!restIsSame) {
    same = false;
    return FWDWNLOAD_SUCCESS;
  }
  const bool written =
      writeBeginning(port, image, progress) && compareFlashImage(port, image, same, progress);
  return written ? FWDWNLOAD_SUCCESS : FWDWNLOAD_FAILED;
}

bool readFlash(FlashPort& port, std::uint32_t address, std::span<std::uint8_t> bytes,
               const FlashProgress& progress) {
  for (std::size_t at = 0; at < bytes.size(); at += kPieceBytes) {
    tell(progress, FlashStep::kRead, at, bytes.size());
    const auto piece = bytes.subspan(at, std::min(kPieceBytes, bytes.size() - at));
    const auto place = address + static_cast<std::uint32_t>(at);
    if (!untilDone([&] { return port.read(place, piece); })) return false;
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
