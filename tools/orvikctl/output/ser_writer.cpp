// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/ser_writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/output/atomic_file.h"
#include "tools/orvikctl/output/time_text.h"

namespace orvik::ctl {
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
  if (info.type == Orvik_IMG_RGB24) return 101;
  if (!info.mosaic) return 0;
  switch (*info.mosaic) {
    case BAYER_GR:
      return 9;
    case BAYER_GB:
      return 10;
    case BAYER_BG:
      return 11;
    case BAYER_RG:
      break;
  }
  return 8;
}

Header headerOf(const ImageInfo& info) {
  // Early writers took the flag for its opposite, and readers followed them: little-endian samples
  // go with a flag of 0.
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
  fields.number<std::int32_t>(info.type == Orvik_IMG_RAW16 ? 16 : 8);  // bits of a sample
  fields.number<std::int32_t>(0);                                      // frames
  fields.text(info.observer, kNameBytes);
  fields.text(info.instrument, kNameBytes);
  fields.text(info.telescope, kNameBytes);
  fields.number<std::int64_t>(ticksLocal(info.start));
  fields.number<std::int64_t>(ticksUtc(info.start));
  return header;
}

}  // namespace

SerWriter::SerWriter(std::filesystem::path file, bool overwrite) : file_(std::move(file)) {
  refuseExisting(file_, overwrite);
  descriptor_ = open(file_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  ours_ = descriptor_ >= 0;
  if (!ours_ && errno == EEXIST && overwrite) {
    descriptor_ = open(file_.c_str(), O_WRONLY | O_CLOEXEC);
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
  throw Failure(ExitCode::kFileFailed, writeErrorText(file_, error) + kept);
}

void SerWriter::finish() {
  if (descriptor_ < 0) return;
  int error = times_.empty() ? 0 : writeTrailer();
  if (close(std::exchange(descriptor_, -1)) != 0 && error == 0) error = errno;
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
    // There is an earlier failure to report, or nobody to report to.
  }
}

int SerWriter::writeFrame(const Image& image) {
  if (times_.empty()) {
    cutTo(0);  // Not before: until a frame comes, an older recording is worth keeping.
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
  cutTo(endOfFrames());  // A frame that did not fit makes room.
  const int error = writeAt(endOfFrames(), times_.data(), times_.size() * sizeof times_.front());
  if (error != 0) cutTo(endOfFrames());  // The times are optional, half of them are not.
  return error;
}

int SerWriter::writeAt(std::uint64_t offset, const void* data, std::size_t size) const {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  while (size > 0) {
    const ssize_t written = pwrite(descriptor_, bytes, size, static_cast<off_t>(offset));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return written < 0 ? errno : EIO;
    bytes += written;
    offset += static_cast<std::uint64_t>(written);
    size -= static_cast<std::size_t>(written);
  }
  return 0;
}

void SerWriter::cutTo(std::uint64_t size) const {
  // Devices and pipes cannot be cut, and have nothing to cut.
  [[maybe_unused]] const int failed = ftruncate(descriptor_, static_cast<off_t>(size));
}

std::uint64_t SerWriter::endOfFrames() const { return kHeaderBytes + times_.size() * frameBytes_; }

}  // namespace orvik::ctl
