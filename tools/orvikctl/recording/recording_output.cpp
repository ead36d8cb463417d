// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/recording_output.h"

#include <iostream>
#include <utility>

#include "imaging/errors.h"
#include "imaging/name_pattern.h"
#include "tools/orvikctl/interrupt.h"

namespace orvik::ctl {
namespace fs = std::filesystem;

namespace {

/// The name, or pattern of names, of a part that has none of its own.
std::string partPattern(const std::string& name, int number) {
  if (number == 1 || imaging::NamePattern(name).isNumbered()) return name;
  const fs::path file = name;
  return (file.parent_path() / file.stem()).string() + "-" + std::to_string(number) +
         file.extension().string();
}

}  // namespace

RecordingOutput::RecordingOutput(const CaptureOptions& options, std::optional<std::int64_t> frames)
    : options_(options),
      frames_(frames),
      output_(imaging::parseOutput(options.output, options.format)) {
  if (output_.isStream && !output_.isStandardOutput() && !options.quiet) {
    std::cerr << output_.name << " is a FIFO: the recording begins when a program reads it\n";
  }
  open();
}

fs::path RecordingOutput::partFile() const {
  if (output_.isStream || output_.isSeries()) return {};
  return imaging::NamePattern(partPattern(output_.name, number_)).name(number_);
}

fs::path RecordingOutput::beside(const std::string& extension) const {
  if (output_.isStream) return {};
  const fs::path file =
      output_.isSeries() ? imaging::NamePattern(output_.name).nameWithoutNumber() : partFile();
  return file.parent_path() / (file.stem().string() + extension);
}

void RecordingOutput::beginNextPart() {
  if (output_.isStream || output_.isSeries() || sink_->files().empty()) return;
  finish();
  earlier_ = files();
  sink_.reset();
  do {  // rather another number than a recording that ends here
    ++number_;
  } while (!options_.overwrite && (fs::exists(partFile()) || fs::exists(beside(".txt"))));
  open();
}

void RecordingOutput::finish() {
  if (sink_) sink_->finish();
}

std::vector<fs::path> RecordingOutput::files() const {
  std::vector<fs::path> files = earlier_;
  if (!sink_) return files;
  for (const fs::path& file : sink_->files()) files.push_back(file);
  return files;
}

void RecordingOutput::open() {
  imaging::Output output = output_;
  output.name = partPattern(output_.name, number_);
  sink_ = imaging::makeSink(output, {.frames = frames_,
                                     .overwrite = options_.overwrite,
                                     .first = number_,
                                     .stop = interruption()});
}

}  // namespace orvik::ctl
