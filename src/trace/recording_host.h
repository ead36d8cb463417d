// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "seam/usb_host.h"

namespace orvik::trace {

/// How much of the data of bulk reads is recorded.
enum class BulkData : std::uint8_t {
  kEnds,   ///< 16 bytes at each end, and a hash of all
  kWhole,  ///< every byte; it takes two characters in the file
};

/// Makes a host around `inner` that records all communication, in the format of docs/recordings.md.
/// Failures to write the file do not disturb the communication.
/// @return `inner` itself when the file cannot be made.
std::shared_ptr<seam::Host> recorded(std::shared_ptr<seam::Host> inner, const std::string& file,
                                     BulkData data);

/// The same according to the environment: into the file named by ORVIK_RECORD, with all data if
/// ORVIK_RECORD_WHOLE is set. Both are read once per process.
/// @return `inner` itself when ORVIK_RECORD is not set.
std::shared_ptr<seam::Host> recordedOnRequest(std::shared_ptr<seam::Host> inner);

}  // namespace orvik::trace
