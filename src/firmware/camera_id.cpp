// SPDX-License-Identifier: MIT
#include "firmware/camera_id.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "firmware/spi_flash.h"

namespace orvik::firmware {
namespace {

constexpr std::uint32_t kSector = 7;
constexpr std::uint32_t kAddress = kSector * kSectorBytes;
constexpr int kAttempts = 3;

constexpr std::array<std::uint8_t, 2> kMarker = {'I', 'D'};
constexpr std::size_t kRecordBytes = kMarker.size() + sizeof(Orvik_ID::id);

constexpr std::uint8_t code(VendorRequest request) { return static_cast<std::uint8_t>(request); }

using Page = std::array<std::uint8_t, kPageBytes>;

bool readPage(VendorLink& link, Page& page) {
  page = {};
  return readFlash(link, kAddress, page, code(VendorRequest::kReadFlash));
}

}  // namespace

bool readId(VendorLink& link, Orvik_ID& id) {
  const FlashBus bus(link);
  Page page;
  if (!readPage(link, page)) return false;
  if (!std::equal(kMarker.begin(), kMarker.end(), page.begin())) return false;
  std::copy_n(page.begin() + kMarker.size(), std::size(id.id), std::begin(id.id));
  return true;
}

bool writeId(VendorLink& link, seam::Clock& clock, const Orvik_ID& id) {
  Page page{};
  std::copy(std::begin(id.id), std::end(id.id), std::ranges::copy(kMarker, page.begin()).out);

  const FlashBus bus(link);
  if (eraseSector(link, clock, kSector, code(VendorRequest::kFlashSector)) != FWDWNLOAD_SUCCESS) {
    return false;
  }
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    Page back;
    const bool written = writeFlash(link, kAddress, page, code(VendorRequest::kWriteFlash));
    const bool read = readPage(link, back);
    if (written && read && std::equal(page.begin(), page.begin() + kRecordBytes, back.begin())) {
      return true;
    }
  }
  return false;
}

}  // namespace orvik::firmware
