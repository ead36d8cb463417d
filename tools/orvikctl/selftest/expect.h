// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

#include "orvik/orvik.h"

namespace orvik::ctl::selftest {

/// A promise that was not kept. The text says what was expected and what came.
class CheckFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A check that means nothing on this camera. The text says why.
class CheckSkipped : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// "BUFFER_SMALL (13)", or the number alone where it has no name.
std::string codeName(Orvik_ERROR_CODE code);

/// @param call what was called, as "OrvikStartExposure during video"
void expectCode(Orvik_ERROR_CODE expected, Orvik_ERROR_CODE came, const std::string& call);

inline void expectOk(Orvik_ERROR_CODE came, const std::string& call) {
  expectCode(Orvik_OK, came, call);
}

/// @param what what was counted or measured, as "width after a refused format"
void expectEqual(long long expected, long long came, const std::string& what);

/// @param range the least and the most that would have been right
void expectWithin(double least, double most, double came, const std::string& what);

/// @param expected what should hold; @param came what was found instead
void expectThat(bool holds, const std::string& expected, const std::string& came);

}  // namespace orvik::ctl::selftest
