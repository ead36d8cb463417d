// SPDX-License-Identifier: MIT
#include "imaging/raw_writer.h"

#include <stdexcept>
#include <utility>

#include "imaging/errors.h"
#include "imaging/save_file.h"
#include "imaging/ser_format.h"

namespace orvik::imaging {

RawWriter::RawWriter(std::filesystem::path file, bool overwrite, FileSystem& fileSystem)
    : file_(std::move(file), overwrite, fileSystem) {}

void RawWriter::write(const Image& image) {
  requireWhole(image);
  if (!file_.isOpen()) throw std::logic_error("a finished file takes no frame");
  if (frames_ == 0) {
    first_ = image.info;
  } else {
    requireSameFormat(first_, image.info);
  }
  const int error = file_.append(image.pixels);
  if (error == 0) {
    ++frames_;
    return;
  }
  file_.close();
  throw FileError(writeErrorText(file_.path(), error) + keptFramesText(frames_));
}

void RawWriter::finish() {
  if (const int error = file_.close()) failWrite(file_.path(), error);
}

std::vector<std::filesystem::path> RawWriter::files() const {
  if (frames_ == 0) return {};
  return {file_.path()};
}

}  // namespace orvik::imaging
