// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "imaging/file_system.h"
#include "imaging/image.h"

namespace orvik::imaging {

/// Where captured frames go. One thread at a time.
class FrameSink {
 public:
  virtual ~FrameSink() = default;

  /// Takes the next frame. @throws FileError; frames written before stay readable
  virtual void write(const Image& image) = 0;

  /// Completes and closes. @throws FileError
  virtual void finish() = 0;

  /// The files that hold frames.
  [[nodiscard]] virtual std::vector<std::filesystem::path> files() const = 0;
};

/// The sink for a name: `.ser` one SER video; `.png`, `.fits`, `.fit`, `.fts` a file for each
/// frame.
///
/// @param output file name; a series of single images needs a number such as `%04d` in it
/// @param frames how many frames will come, if known
/// @param first number of the first file
/// @throws NameError for a name that does not fit, FileError if a file exists and may not be
/// replaced, or the folder is missing
std::unique_ptr<FrameSink> makeSink(const std::string& output, std::optional<std::int64_t> frames,
                                    bool overwrite, FileSystem& fileSystem = FileSystem::system(),
                                    std::int64_t first = 1);

}  // namespace orvik::imaging
