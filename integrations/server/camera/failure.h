// SPDX-License-Identifier: MIT
// Why something that was asked of a camera did not happen.
#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

#include "orvik/orvik.hpp"

namespace orvik::server {

/// Why a request to a camera failed.
struct Failure {
  enum class Kind {
    kNotOpen,    ///< the camera is not open, or was unplugged
    kBusy,       ///< another capture has the camera
    kBadValue,   ///< a value that the camera does not take
    kCancelled,  ///< a stop was requested
    kCamera,     ///< the library has failed
    kFile,       ///< a file cannot be written
  };
  Kind kind = Kind::kCamera;
  Orvik_ERROR_CODE code = Orvik_OK;  ///< of the library, where it has failed
  std::string message;               ///< a sentence for users
};

/// A failure that a job or a capture throws to end with it.
class FailureException : public std::runtime_error {
 public:
  explicit FailureException(Failure failure);
  [[nodiscard]] const Failure& failure() const { return failure_; }

 private:
  Failure failure_;
};

/// Empty on success.
using Outcome = std::optional<Failure>;
/// Told the outcome of something that takes time, once, on any thread. It must return soon.
using Done = std::function<void(const Outcome&)>;

/// The failure that the exception being handled stands for. Only in a catch block.
Failure currentFailure();

}  // namespace orvik::server
