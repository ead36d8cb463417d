// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/frame_sink.h"

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/output/atomic_file.h"
#include "tools/orvikctl/output/file_sequence.h"
#include "tools/orvikctl/output/fits_writer.h"
#include "tools/orvikctl/output/name_pattern.h"
#include "tools/orvikctl/output/png_writer.h"
#include "tools/orvikctl/output/ser_writer.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

std::unique_ptr<ImageWriter> makeImageWriter(const std::string& extension) {
  if (extension == ".png") return std::make_unique<PngWriter>();
  if (extension == ".fits" || extension == ".fit" || extension == ".fts") {
    return std::make_unique<FitsWriter>();
  }
  return nullptr;
}

void requireNumber(const NamePattern& pattern, std::optional<std::int64_t> frames) {
  if (pattern.isNumbered() || frames == 1) return;
  const std::filesystem::path name = pattern.name(1);
  throw Failure(ExitCode::kUsage, name.filename().string() +
                                      " holds one picture only. For a series put a number into "
                                      "the name, as in " +
                                      name.stem().string() + "-%04d" + name.extension().string() +
                                      ".");
}

}  // namespace

std::unique_ptr<FrameSink> makeSink(const std::string& output, std::optional<std::int64_t> frames,
                                    bool overwrite) {
  const NamePattern pattern(output);
  const std::string extension = foldName(std::filesystem::path(output).extension().string());
  requireFolder(pattern.name(1));
  if (extension == ".ser") return std::make_unique<SerWriter>(pattern.name(1), overwrite);
  auto writer = makeImageWriter(extension);
  if (!writer) {
    throw Failure(ExitCode::kUsage, "--output " + output +
                                        ": the extension chooses the format; use .png, .fits or "
                                        ".ser.");
  }
  requireNumber(pattern, frames);
  return std::make_unique<FileSequence>(std::move(writer), pattern, frames, overwrite);
}

}  // namespace orvik::ctl
