// SPDX-License-Identifier: MIT
#include "algorithm/white_balance.h"

#include <gtest/gtest.h>

#include <limits>

namespace orvik::test {
namespace {

TEST(Balance, GainsFarOutsideStayDefined) {
  const GainTables tables({.red = std::numeric_limits<std::int32_t>::max(),
                           .blue = std::numeric_limits<std::int32_t>::min()});
  EXPECT_EQ(tables.red[0], 0);
  EXPECT_EQ(tables.red[1], 255);
  EXPECT_EQ(tables.red[255], 255);
  EXPECT_EQ(tables.blue[255], 0);
}

}  // namespace
}  // namespace orvik::test
