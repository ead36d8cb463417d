// SPDX-License-Identifier: MIT
#include "imaging/frame_sink.h"

#include <cstdint>

#include "imaging/errors.h"
#include "imaging/file_sequence.h"
#include "imaging/fits_encoder.h"
#include "imaging/image_encoder.h"
#include "imaging/name_pattern.h"
#include "imaging/png_encoder.h"
#include "imaging/raw_writer.h"
#include "imaging/save_file.h"
#include "imaging/ser_writer.h"
#include "imaging/stream_sink.h"

namespace orvik::imaging {
namespace {

void requireNumber(const NamePattern& pattern, std::optional<std::int64_t> frames) {
  if (pattern.isNumbered() || frames == 1) return;
  const std::filesystem::path name = pattern.name(1);
  throw NameError(name.filename().string() +
                  " holds one image only. For a series put a number into the name, as in " +
                  name.stem().string() + "-%04d" + name.extension().string() + ".");
}

std::unique_ptr<FrameSink> makeStream(const Output& output, const SinkOptions& options) {
  PipeWriter pipe = output.isStandardOutput() ? PipeWriter::standardOutput(options.stop)
                                              : PipeWriter::fifo(output.name, options.stop);
  return std::make_unique<StreamSink>(std::move(pipe), output.format, options.frames);
}

}  // namespace

std::unique_ptr<FrameSink> makeSink(const Output& output, const SinkOptions& options,
                                    FileSystem& fileSystem) {
  if (output.isStream) return makeStream(output, options);
  const NamePattern pattern(output.name);
  requireFolder(pattern.name(options.first));
  switch (output.format) {
    case OutputFormat::kSer:
      return std::make_unique<SerWriter>(pattern.name(options.first), options.overwrite,
                                         fileSystem);
    case OutputFormat::kRaw:
      return std::make_unique<RawWriter>(pattern.name(options.first), options.overwrite,
                                         fileSystem);
    case OutputFormat::kFits:
    case OutputFormat::kPng:
      break;
  }
  requireNumber(pattern, options.frames);
  const ImageEncoder encode = output.format == OutputFormat::kPng ? encodePng : encodeFits;
  return std::make_unique<FileSequence>(encode, pattern, options.first, options.frames,
                                        options.overwrite, fileSystem);
}

std::unique_ptr<FrameSink> makeSink(const std::string& output, std::optional<std::int64_t> frames,
                                    bool overwrite, FileSystem& fileSystem, std::int64_t first) {
  return makeSink(parseOutput(output), {.frames = frames, .overwrite = overwrite, .first = first},
                  fileSystem);
}

}  // namespace orvik::imaging
