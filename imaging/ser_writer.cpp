// SPDX-License-Identifier: MIT
#include "imaging/ser_writer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "imaging/errors.h"
#include "imaging/mosaic.h"
#include "imaging/save_file.h"
#include "imaging/time_text.h"

namespace orvik::imaging {
namespace {

constexpr std::size_t kHeaderBytes = 178;
constexpr std::size_t kFrameCountOffset = 38;
using Header = std::array<std::uint8_t, kHeaderBytes>;

/// Fills the header field by field; numbers are little-endian.
class HeaderFields {
 public:
  explicit HeaderFields(Header& header) : header_(header) {}

  template <typename Number>
  void number(Number value) {
    std::memcpy(header_.data() + at_, &value, sizeof value);
    at_ += sizeof value;
  }
  void text(std::string_view text, std::size_t width) {
    std::memcpy(header_.data() + at_, text.data(), std::min(text.size(), width));
    at_ += width;
  }

 private:
  Header& header_;
  std::size_t at_ = 0;
};

std::int32_t colourId(const ImageInfo& info) {
  constexpr std::int32_t kMono = 0;
  constexpr std::int32_t kBlueGreenRed = 101;
  if (imageType(info.type).isColour) return kBlueGreenRed;
  return info.mosaic ? mosaic(*info.mosaic).serColourId : kMono;
}

Header headerOf(const ImageInfo& info) {
  // The format says that 1 means little-endian, but the first programs wrote the opposite and the
  // readers followed them: 0 stands for little-endian samples.
  constexpr std::int32_t kLittleEndianSamples = 0;
  constexpr std::size_t kNameBytes = 40;
  Header header{};
  HeaderFields fields(header);
  fields.text("LUCAM-RECORDER", 14);
  fields.number<std::int32_t>(0);  // number of the camera series; not in use
  fields.number<std::int32_t>(colourId(info));
  fields.number<std::int32_t>(kLittleEndianSamples);
  fields.number<std::int32_t>(info.width);
  fields.number<std::int32_t>(info.height);
  fields.number<std::int32_t>(imageType(info.type).bitsPerSample);
  fields.number<std::int32_t>(0);  // frames
  fields.text(info.observer, kNameBytes);
  fields.text(info.instrument, kNameBytes);
  fields.text(info.telescope, kNameBytes);
  fields.number<std::int64_t>(ticksLocal(info.start));
  fields.number<std::int64_t>(ticksUtc(info.start));
  return header;
}

}  // namespace

SerWriter::SerWriter(std::filesystem::path file, bool overwrite, FileSystem& fileSystem)
    : file_(std::move(file)), fileSystem_(fileSystem) {
  refuseExisting(file_, overwrite);
  descriptor_ = fileSystem_.open(file_, FileSystem::Open::kNew);
  ours_ = descriptor_ >= 0;
  if (!ours_ && errno == EEXIST && overwrite) {
    descriptor_ = fileSystem_.open(file_, FileSystem::Open::kExisting);
  }
  if (descriptor_ < 0) failWrite(file_, errno);
}

SerWriter::~SerWriter() { finishQuietly(); }

void SerWriter::write(const Image& image) {
  requireWhole(image);
  if (descriptor_ < 0) throw std::logic_error("a finished SER file takes no frame");
  if (times_.empty()) {
    first_ = image.info;
    frameBytes_ = image.pixels.size();
  } else if (image.info.width != first_.width || image.info.height != first_.height ||
             image.info.type != first_.type) {
    throw std::invalid_argument("the frames of a SER file are all of one size and type");
  }
  const int error = writeFrame(image);
  if (error == 0) return;
  finishQuietly();
  const std::string kept =
      times_.empty() ? ""
                     : " The file keeps the " + std::to_string(times_.size()) + " frames before.";
  throw FileError(writeErrorText(file_, error) + kept);
}

void SerWriter::finish() {
  if (descriptor_ < 0) return;
  int error = times_.empty() ? 0 : writeTrailer();
  const int closeError = fileSystem_.close(std::exchange(descriptor_, -1));
  if (error == 0) error = closeError;
  if (times_.empty() && ours_) {
    std::error_code ignored;
    std::filesystem::remove(file_, ignored);
  }
  if (error != 0) failWrite(file_, error);
}

std::vector<std::filesystem::path> SerWriter::files() const {
  if (times_.empty()) return {};
  return {file_};
}

void SerWriter::finishQuietly() {
  try {
    finish();
  } catch (const std::exception&) {
    // An earlier failure is being reported, or this is the destructor.
  }
}

int SerWriter::writeFrame(const Image& image) {
  if (times_.empty()) {
    cutTo(0);  // not earlier: a recording without a frame keeps the existing file
    ours_ = true;
    const Header header = headerOf(first_);
    if (const int error = writeAt(0, header.data(), header.size())) return error;
  }
  if (const int error = writeAt(endOfFrames(), image.pixels.data(), image.pixels.size())) {
    return error;
  }
  times_.push_back(ticksUtc(image.info.start));
  const auto count = static_cast<std::int32_t>(times_.size());
  return writeAt(kFrameCountOffset, &count, sizeof count);
}

int SerWriter::writeTrailer() {
  cutTo(endOfFrames());  // the rest of a frame that did not fit
  const int error = writeAt(endOfFrames(), times_.data(), times_.size() * sizeof times_.front());
  if (error != 0) cutTo(endOfFrames());  // a file has all time stamps or none
  return error;
}

int SerWriter::writeAt(std::uint64_t offset, const void* data, std::size_t size) {
  return fileSystem_.write(descriptor_, offset, {static_cast<const std::uint8_t*>(data), size});
}

void SerWriter::cutTo(std::uint64_t size) {
  // Devices and pipes cannot be truncated, and need not be.
  static_cast<void>(fileSystem_.truncate(descriptor_, size));
}

std::uint64_t SerWriter::endOfFrames() const { return kHeaderBytes + times_.size() * frameBytes_; }

}  // namespace orvik::imaging
