// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/frame_sink.h"

#include <cstdint>

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/output/file_sequence.h"
#include "tools/orvikctl/output/fits_encoder.h"
#include "tools/orvikctl/output/name_pattern.h"
#include "tools/orvikctl/output/png_encoder.h"
#include "tools/orvikctl/output/save_file.h"
#include "tools/orvikctl/output/ser_writer.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

ImageEncoder encoderFor(const std::string& extension) {
  if (extension == ".png") return encodePng;
  if (extension == ".fits" || extension == ".fit" || extension == ".fts") return encodeFits;
  return nullptr;
}

void requireNumber(const NamePattern& pattern, std::optional<std::int64_t> frames) {
  if (pattern.isNumbered() || frames == 1) return;
  const std::filesystem::path name = pattern.name(1);
  throw Failure(ExitCode::kUsage, name.filename().string() +
                                      " holds one image only. For a series put a number into "
                                      "the name, as in " +
                                      name.stem().string() + "-%04d" + name.extension().string() +
                                      ".");
}

}  // namespace

std::unique_ptr<FrameSink> makeSink(const std::string& output, std::optional<std::int64_t> frames,
                                    bool overwrite, FileSystem& fileSystem) {
  const NamePattern pattern(output);
  const std::string extension = foldName(std::filesystem::path(output).extension().string());
  requireFolder(pattern.name(1));
  if (extension == ".ser")
    return std::make_unique<SerWriter>(pattern.name(1), overwrite, fileSystem);
  const ImageEncoder encode = encoderFor(extension);
  if (encode == nullptr) {
    throw Failure(ExitCode::kUsage, "--output " + output +
                                        ": the extension chooses the format; use .png, .fits or "
                                        ".ser.");
  }
  requireNumber(pattern, frames);
  return std::make_unique<FileSequence>(encode, pattern, frames, overwrite, fileSystem);
}

}  // namespace orvik::ctl
