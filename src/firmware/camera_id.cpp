// SPDX-License-Identifier: MIT
#include "firmware/camera_id.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace orvik::firmware {
namespace {

constexpr std::uint32_t kSector = 7;
constexpr std::uint32_t kAddress = kSector * FlashPort::kSectorBytes;

constexpr std::array<std::uint8_t, 2> kMarker = {'I', 'D'};
constexpr std::size_t kRecordBytes = kMarker.size() + sizeof(Orvik_ID::id);

using Page = std::array<std::uint8_t, FlashPort::kPageBytes>;

bool readPage(FlashPort& port, Page& page) {
  page = {};
  return port.read(kAddress, page);
}

}  // namespace

bool readId(FlashPort& port, Orvik_ID& id) {
  const FlashSession session(port);
  Page page;
  if (!session.hasBus() || !readPage(port, page)) return false;
  if (!std::equal(kMarker.begin(), kMarker.end(), page.begin())) return false;
  std::copy_n(page.begin() + kMarker.size(), std::size(id.id), std::begin(id.id));
  return true;
}

bool writeId(FlashPort& port, const Orvik_ID& id) {
  Page page{};
  std::copy(std::begin(id.id), std::end(id.id), std::ranges::copy(kMarker, page.begin()).out);

  const FlashSession session(port);
  if (!session.hasBus() || !port.eraseSector(kSector)) return false;
  for (int attempt = 0; attempt < FlashPort::kAttempts; ++attempt) {
    Page back;
    const bool written = port.write(kAddress, page);
    const bool read = readPage(port, back);
    if (written && read && std::equal(page.begin(), page.begin() + kRecordBytes, back.begin())) {
      return true;
    }
  }
  return false;
}

}  // namespace orvik::firmware
