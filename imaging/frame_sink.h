// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "imaging/file_system.h"
#include "imaging/image.h"
#include "imaging/output.h"

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

/// What a sink needs to know beyond its output.
struct SinkOptions {
  std::optional<std::int64_t> frames{};  ///< how many frames will come, if known
  bool overwrite = false;                ///< whether files that exist may be replaced
  std::int64_t first = 1;                ///< number of the first file
  std::stop_token stop{};                ///< ends the waiting for the reader of a pipe
};

/// The sink for an output: one file for a SER or raw video, a file for each FITS or PNG image, or a
/// stream, which the function opens.
///
/// @throws NameError for a name that does not fit, such as that of a series without a number;
/// FileError if a file exists and may not be replaced, or the folder is missing; WriteStopped if
/// nobody has opened a FIFO for reading before the stop
std::unique_ptr<FrameSink> makeSink(const Output& output, const SinkOptions& options,
                                    FileSystem& fileSystem = FileSystem::system());

/// The same for a name whose extension chooses the format.
std::unique_ptr<FrameSink> makeSink(const std::string& output, std::optional<std::int64_t> frames,
                                    bool overwrite, FileSystem& fileSystem = FileSystem::system(),
                                    std::int64_t first = 1);

}  // namespace orvik::imaging
