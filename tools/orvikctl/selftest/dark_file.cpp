// SPDX-License-Identifier: MIT
#include "tools/orvikctl/selftest/dark_file.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <system_error>

#include "imaging/save_file.h"

namespace orvik::ctl::selftest {
namespace {

constexpr std::size_t kHeaderBytes = 54;
constexpr std::uint32_t kPixelOffset = kHeaderBytes + 1024;  // behind a palette of 256 colours

void put(std::array<char, kHeaderBytes>& header, std::size_t at, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) header[at + i] = static_cast<char>(value >> 8 * i & 0xFFU);
}

}  // namespace

void writeBlackDark(const std::filesystem::path& path, int width, int height) {
  const auto pixels = static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(height);
  std::array<char, kHeaderBytes> header{'B', 'M'};
  put(header, 2, kPixelOffset + pixels);
  put(header, 10, kPixelOffset);
  put(header, 14, 40);  // size of what follows
  put(header, 18, static_cast<std::uint32_t>(width));
  put(header, 22, static_cast<std::uint32_t>(height));
  put(header, 26, 8U << 16U | 1U);  // bits a pixel, and one plane
  std::ofstream file(path, std::ios::binary);
  file.write(header.data(), header.size());
  file.close();
  if (!file) imaging::failWrite(path, errno);
  // The pixels are zeros, which need no room on the disk.
  std::error_code error;
  std::filesystem::resize_file(path, kPixelOffset + pixels, error);
  if (error) imaging::failWrite(path, error.value());
}

}  // namespace orvik::ctl::selftest
