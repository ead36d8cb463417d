// SPDX-License-Identifier: MIT
#include "imaging/ser_writer.h"

#include <stdexcept>
#include <utility>

#include "imaging/errors.h"
#include "imaging/save_file.h"
#include "imaging/ser_format.h"
#include "imaging/time_text.h"

namespace orvik::imaging {

SerWriter::SerWriter(std::filesystem::path file, bool overwrite, FileSystem& fileSystem)
    : file_(std::move(file), overwrite, fileSystem) {}

SerWriter::~SerWriter() { finishQuietly(); }

void SerWriter::write(const Image& image) {
  requireWhole(image);
  if (!file_.isOpen()) throw std::logic_error("a finished SER file takes no frame");
  if (times_.empty()) {
    first_ = image.info;
  } else {
    requireSameFormat(first_, image.info);
  }
  const int error = writeFrame(image);
  if (error == 0) return;
  finishQuietly();
  throw FileError(writeErrorText(file_.path(), error) + keptFramesText(times_.size()));
}

void SerWriter::finish() {
  if (!file_.isOpen()) return;
  // A file has all time stamps or none.
  int error = times_.empty() ? 0 : file_.append(bytesOf(times_));
  const int closeError = file_.close();
  if (error == 0) error = closeError;
  if (error != 0) failWrite(file_.path(), error);
}

std::vector<std::filesystem::path> SerWriter::files() const {
  if (times_.empty()) return {};
  return {file_.path()};
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
    if (const int error = file_.append(serHeader(first_, 0))) return error;
  }
  if (const int error = file_.append(image.pixels)) {
    if (times_.empty()) file_.clear();
    return error;
  }
  times_.push_back(ticksUtc(image.info.start));
  const std::vector<std::int32_t> count = {static_cast<std::int32_t>(times_.size())};
  return file_.replace(kSerFrameCountOffset, bytesOf(count));
}

}  // namespace orvik::imaging
