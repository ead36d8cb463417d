// SPDX-License-Identifier: MIT
// Any bytes as the contents of a camera's flash: the table read from it can be cut for any region,
// can correct a frame, and is unchanged after it has been stored and read again.
#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "algorithm/hot_sites.h"
#include "delivery/hot_pixel_storage.h"

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 64;
constexpr std::uint32_t kTableAddress = 0x40000;

/// A flash with the input at the address of the table, followed by erased cells.
class InputFlash final : public orvik::FlashPort {
 public:
  explicit InputFlash(std::span<const std::uint8_t> input) : input_(input) {}

  [[nodiscard]] std::unique_lock<std::mutex> lock() override { return std::unique_lock(mutex_); }
  bool takeBus() override { return true; }
  void giveBusBack() override {}
  bool read(std::uint32_t address, std::span<std::uint8_t> bytes) override {
    if (address < kTableAddress) std::abort();
    std::ranges::fill(bytes, std::uint8_t{0xFF});
    const std::size_t offset = address - kTableAddress;
    if (offset < input_.size()) {
      const std::size_t count = std::min(bytes.size(), input_.size() - offset);
      std::ranges::copy(input_.subspan(offset, count), bytes.begin());
    }
    return true;
  }
  bool write(std::uint32_t, std::span<const std::uint8_t>) override { std::abort(); }
  bool eraseSector(std::uint32_t) override { std::abort(); }

 private:
  std::span<const std::uint8_t> input_;
  std::mutex mutex_;
};

void useTable(const orvik::HotPixelTable& table) {
  for (const int bin : {1, 2, 3, 4}) {
    for (const int step : {1, 2}) {
      const orvik::FrameRegion region{4, 2, 60 / bin / 4 * 4, 62 / bin / 2 * 2, bin, step};
      std::vector<std::uint16_t> frame(region.samples(), 100);
      orvik::correctHotPixels(frame.data(), orvik::cutHotPixels(table, kWidth, region));
      // If all samples are equal, the median of some of them is equal, too.
      if (std::ranges::count(frame, 100) != static_cast<std::ptrdiff_t>(frame.size())) std::abort();
    }
  }
  const auto stored = orvik::storableHotPixels(table);
  if (!stored) return;  // too many pixels
  if (orvik::uncompressHotPixels(*stored, table.size()) != table) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  InputFlash flash({data, size});
  const auto loaded = orvik::loadHotPixels(flash, orvik::hotPixelTableBytes(kWidth, kHeight));
  if (loaded.table) useTable(*loaded.table);
  return 0;
}
