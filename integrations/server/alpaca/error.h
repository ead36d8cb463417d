// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

#include "integrations/server/camera/failure.h"

namespace orvik::server {

/// The standard's error numbers.
enum class ErrorNumber {
  kNotImplemented = 0x400,
  kInvalidValue = 0x401,
  kNotConnected = 0x407,
  kInvalidOperation = 0x40B,
  kCancelled = 0x40E,
  kDriver = 0x500,  ///< the first of the numbers that are free for drivers: the library has failed
};

/// A request that was understood and failed. Its answer has the status 200.
class AlpacaError : public std::runtime_error {
 public:
  AlpacaError(ErrorNumber number, const std::string& message)
      : std::runtime_error(message), number_(number) {}
  [[nodiscard]] ErrorNumber number() const noexcept { return number_; }

 private:
  ErrorNumber number_;
};

/// A request that was not understood. Its answer has the status 400.
class BadRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The error that a client is told of a failure.
inline AlpacaError errorOf(const Failure& failure) {
  const auto number = [&] {
    switch (failure.kind) {
      case Failure::Kind::kNotOpen:
        return ErrorNumber::kNotConnected;
      case Failure::Kind::kBusy:
        return ErrorNumber::kInvalidOperation;
      case Failure::Kind::kBadValue:
        return ErrorNumber::kInvalidValue;
      case Failure::Kind::kCancelled:
        return ErrorNumber::kCancelled;
      case Failure::Kind::kCamera:
      case Failure::Kind::kFile:
        break;
    }
    return ErrorNumber::kDriver;
  }();
  return {number, failure.message.empty() ? "The camera has failed." : failure.message};
}

}  // namespace orvik::server
