// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "imaging/image.h"
#include "integrations/server/capture/capture_folder.h"
#include "integrations/server/capture/capture_request.h"

namespace orvik::server {

/// The files that one capture writes. One thread at a time.
class CaptureFiles {
 public:
  virtual ~CaptureFiles() = default;
  /// @throws imaging::FileError; what was written before stays readable
  virtual void write(const imaging::Image& image) = 0;
  /// Completes and closes. @throws imaging::FileError
  virtual void finish() = 0;
  /// Name of the last file, "" if there is none yet.
  [[nodiscard]] virtual const std::string& last() const = 0;
  [[nodiscard]] virtual std::uint64_t bytes() const = 0;
};

/// Makes what a request is written to: a FITS or PNG file for each image, or one SER file.
///
/// @throws imaging::FileError if the folder cannot be made, or nothing can be written to it
std::unique_ptr<CaptureFiles> makeFiles(const CaptureRequest& request,
                                        std::shared_ptr<CaptureFolder> folder);

}  // namespace orvik::server
