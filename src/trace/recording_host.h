// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "seam/usb_host.h"

namespace orvik::trace {

/// How much of the data of bulk reads is kept.
enum class BulkData : std::uint8_t {
  kEnds,   ///< 16 bytes at each end, and a hash of all
  kWhole,  ///< every byte, twice its size in the file
};

/// A host around `inner` that writes down all that is said, in the format of docs/recordings.md.
/// A file that cannot be written to, at the beginning or later, does not disturb the conversation.
/// @return `inner` itself when the file cannot be made.
std::shared_ptr<seam::Host> recorded(std::shared_ptr<seam::Host> inner, const std::string& file,
                                     BulkData data);

/// The same as the environment wants it: into the file that ORVIK_RECORD names, whole when
/// ORVIK_RECORD_WHOLE is set. Both are read once in the life of the process; without the first,
/// `inner` itself is the answer.
std::shared_ptr<seam::Host> recordedOnRequest(std::shared_ptr<seam::Host> inner);

}  // namespace orvik::trace
