// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "gtest/gtest.h"
#include "orvik/orvik.hpp"
#include "orvik/orvik_sim.h"

namespace orvik::test {

/// Virtual cameras for programs of the wrapper; each test begins and ends without one.
class WrapperBench : public testing::Test {
 protected:
  ~WrapperBench() override { OrvikSimUnplugAll(); }

  /// @return its number for OrvikSimUnplug()
  static int plug(const std::string& options, const char* model = "T15C") {
    const int id = OrvikSimPlug(model, options.c_str());
    EXPECT_GT(id, 0) << OrvikSimLastError();
    return id;
  }
};

/// The code with which `action` throws an Error; #Orvik_OK if it does not.
template <typename Action>
Orvik_ERROR_CODE thrownBy(Action action) {
  try {
    action();
  } catch (const Error& error) {
    return error.orvikCode();
  }
  return Orvik_OK;
}

}  // namespace orvik::test
