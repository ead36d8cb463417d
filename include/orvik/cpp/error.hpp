// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <system_error>

#include "orvik/orvik_service.h"

namespace orvik {
inline namespace v0 {

/// @addtogroup cpp The C++ wrapper
/// @{

/// The category of the codes of ::Orvik_ERROR_CODE. A message says what happened and what to do
/// about it, as OrvikErrorText(), and gives the number of the code.
inline const std::error_category& errorCategory() noexcept {
  class Category final : public std::error_category {
   public:
    [[nodiscard]] const char* name() const noexcept override { return "orvik"; }
    [[nodiscard]] std::string message(int code) const override {
      return std::string(OrvikErrorText(Orvik_ERROR_CODE{code})) + " (code " +
             std::to_string(code) + ")";
    }
  };
  static const Category category;
  return category;
}

/// The same code for `std::error_code`.
inline std::error_code errorCode(Orvik_ERROR_CODE code) noexcept {
  return {static_cast<int>(code), errorCategory()};
}

/// What the functions of this wrapper throw: `what()` names the camera and what was attempted, and
/// explains the code.
class Error : public std::system_error {
 public:
  /// @param doing what was attempted, for example "Vek T15C 0012ABCD: starting video"
  Error(Orvik_ERROR_CODE code, const std::string& doing)
      : std::system_error(errorCode(code), doing) {}

  /// The code of the library.
  [[nodiscard]] Orvik_ERROR_CODE orvikCode() const noexcept {
    return Orvik_ERROR_CODE{code().value()};
  }
};

/// Where a function reports its error. Every function that can fail has a last parameter of this
/// type: without an argument it throws an Error; with a `std::error_code` it stores the code there,
/// 0 on success, and returns an empty or zero value when it fails.
///
///     camera.startVideo();                  // throws
///     std::error_code error;
///     camera.startVideo(error);             // does not
///     if (error) std::cerr << error.message() << '\n';
class OnError {
 public:
  /// Throws.
  OnError() = default;
  /// Stores the code. Not explicit, so that a `std::error_code` can be passed directly.
  OnError(std::error_code& stored) : stored_(&stored) { stored.clear(); }  // NOLINT

  /// Reports a code.
  ///
  /// @param doing returns what was attempted; called only when an Error is thrown
  /// @return whether the call succeeded
  template <typename Doing>
  bool succeeded(Orvik_ERROR_CODE code, Doing doing) const {
    if (code == Orvik_OK) return true;
    if (stored_ == nullptr) throw Error(code, doing());
    *stored_ = errorCode(code);
    return false;
  }
  /// Reports the error of a step, if it is one.
  template <typename Doing>
  bool succeeded(const std::error_code& error, Doing doing) const {
    return succeeded(Orvik_ERROR_CODE{error.value()}, doing);
  }

 private:
  std::error_code* stored_ = nullptr;
};

/// @}

}  // namespace v0
}  // namespace orvik
