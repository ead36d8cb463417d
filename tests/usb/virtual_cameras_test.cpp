// SPDX-License-Identifier: MIT
#include "usb/virtual_cameras.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvik {
namespace {

TEST(VirtualCameras, AreSeparatedBySemicolonsExceptForRulesOfFaults) {
  using ::testing::ElementsAre;
  const auto split = [](std::string_view list) {
    return splitCameras(list, [](auto code) { return code == "T15C" || code == "T13C_C"; });
  };
  EXPECT_THAT(split(" ;;"), ElementsAre());
  EXPECT_THAT(split(" T15C,scene=moon ;\nT99X; T13C_C; "),
              ElementsAre("T15C,scene=moon", "T99X", "T13C_C"));
  EXPECT_THAT(split("T15C,fault=seed 2;any fail,scene=moon;T99X;T13C_C,fault=any stall; x ; T15C"),
              ElementsAre("T15C,fault=seed 2;any fail,scene=moon", "T99X",
                          "T13C_C,fault=any stall; x ", "T15C"));
}

}  // namespace
}  // namespace orvik
