// SPDX-License-Identifier: MIT
#include "imaging/stream_sink.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "imaging/fits_encoder.h"
#include "imaging/png_encoder.h"
#include "imaging/save_file.h"
#include "imaging/ser_format.h"
#include "imaging/time_text.h"

namespace orvik::imaging {
namespace {

/// What a SER header can tell. Readers take 0 for a video without frames.
constexpr std::int64_t kMostFrames = std::numeric_limits<std::int32_t>::max();

}  // namespace

StreamSink::StreamSink(PipeWriter pipe, OutputFormat format, std::optional<std::int64_t> frames)
    : pipe_(std::move(pipe)),
      format_(format),
      announced_(static_cast<std::int32_t>(std::min(frames.value_or(kMostFrames), kMostFrames))) {}

void StreamSink::write(const Image& image) {
  requireWhole(image);
  if (isBroken_) return;
  pipe_.waitForRoom();  // a stop between two frames leaves whole ones
  isBroken_ = true;
  switch (format_) {
    case OutputFormat::kFits:
      write(first_ ? encodeFitsExtension : encodeFits, image);
      first_ = image.info;
      break;
    case OutputFormat::kPng:
      write(encodePng, image);
      break;
    case OutputFormat::kSer:
    case OutputFormat::kRaw:
      if (!first_) begin(image.info);
      requireSameFormat(*first_, image.info);
      pipe_.write(image.pixels);
      if (format_ == OutputFormat::kSer) times_.push_back(ticksUtc(image.info.start));
      break;
  }
  isBroken_ = false;
}

void StreamSink::write(ImageEncoder encode, const Image& image) {
  GatheringSink sink([this](std::span<const std::uint8_t> bytes) { pipe_.write(bytes); });
  encode(image, sink);
  sink.flush();
}

void StreamSink::begin(const ImageInfo& first) {
  first_ = first;
  if (format_ == OutputFormat::kSer) pipe_.write(serHeader(first, announced_));
}

void StreamSink::finish() {
  // Elsewhere a reader would take them for a frame.
  if (isBroken_ || std::ssize(times_) != announced_) return;
  pipe_.allowGrace();
  pipe_.write(bytesOf(std::exchange(times_, {})));
}

}  // namespace orvik::imaging
