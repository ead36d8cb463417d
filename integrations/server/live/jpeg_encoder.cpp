// SPDX-License-Identifier: MIT
#include "integrations/server/live/jpeg_encoder.h"

#include <turbojpeg.h>

#include <new>
#include <stdexcept>

namespace orvik::server {

// Small pictures are those that are zoomed into: their single pixels keep their own colour.
constexpr int kSmallPicture = 256 * 256;

JpegEncoder::JpegEncoder() : handle_(tjInitCompress()) {
  if (handle_ == nullptr) throw std::bad_alloc();
}

JpegEncoder::~JpegEncoder() { tjDestroy(handle_); }

std::shared_ptr<const std::string> JpegEncoder::encode(std::span<const std::uint8_t> pixels,
                                                       imaging::Size size, bool isColour,
                                                       int quality) {
  int sampling = TJSAMP_GRAY;
  if (isColour) sampling = size.width * size.height <= kSmallPicture ? TJSAMP_444 : TJSAMP_420;
  unsigned long bytes = tjBufSize(size.width, size.height, sampling);
  if (compressed_.size() < bytes) compressed_.resize(bytes);
  unsigned char* to = compressed_.data();
  const int failed = tjCompress2(handle_, pixels.data(), size.width, 0, size.height,
                                 isColour ? TJPF_BGR : TJPF_GRAY, &to, &bytes, sampling, quality,
                                 TJFLAG_NOREALLOC | TJFLAG_FASTDCT);
  if (failed != 0) throw std::runtime_error(tjGetErrorStr2(handle_));
  return std::make_shared<const std::string>(
      compressed_.begin(), compressed_.begin() + static_cast<std::ptrdiff_t>(bytes));
}

}  // namespace orvik::server
