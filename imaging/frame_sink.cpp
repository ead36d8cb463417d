// SPDX-License-Identifier: MIT
#include "imaging/frame_sink.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

#include "imaging/errors.h"
#include "imaging/file_sequence.h"
#include "imaging/fits_encoder.h"
#include "imaging/image_encoder.h"
#include "imaging/name_pattern.h"
#include "imaging/png_encoder.h"
#include "imaging/save_file.h"
#include "imaging/ser_writer.h"

namespace orvik::imaging {
namespace {

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  });
  return text;
}

void requireNumber(const NamePattern& pattern, std::optional<std::int64_t> frames) {
  if (pattern.isNumbered() || frames == 1) return;
  const std::filesystem::path name = pattern.name(1);
  throw NameError(name.filename().string() +
                  " holds one image only. For a series put a number into the name, as in " +
                  name.stem().string() + "-%04d" + name.extension().string() + ".");
}

}  // namespace

ImageEncoder encoderFor(const std::filesystem::path& file) {
  const std::string extension = lowerCase(file.extension().string());
  if (extension == ".png") return encodePng;
  if (extension == ".fits" || extension == ".fit" || extension == ".fts") return encodeFits;
  return nullptr;
}

std::unique_ptr<FrameSink> makeSink(const std::string& output, std::optional<std::int64_t> frames,
                                    bool overwrite, FileSystem& fileSystem, std::int64_t first) {
  const NamePattern pattern(output);
  const std::string extension = lowerCase(std::filesystem::path(output).extension().string());
  requireFolder(pattern.name(first));
  if (extension == ".ser")
    return std::make_unique<SerWriter>(pattern.name(first), overwrite, fileSystem);
  const ImageEncoder encode = encoderFor(output);
  if (encode == nullptr) {
    throw NameError(output + ": the extension chooses the format; use .png, .fits or .ser.");
  }
  requireNumber(pattern, frames);
  return std::make_unique<FileSequence>(encode, pattern, first, frames, overwrite, fileSystem);
}

}  // namespace orvik::imaging
