// SPDX-License-Identifier: MIT
#include "usb/current_host.h"

#include <gtest/gtest.h>

#include "fake_host.h"
#include "seam/install.h"

namespace orvik {
namespace {

TEST(CurrentHost, IsTheSystemsUnlessOneIsInstalled) {
  ::testing::internal::CaptureStderr();
  const auto system = currentHost();
  ASSERT_NE(system, nullptr) << "also where there is no USB";
  EXPECT_EQ(system->open({{255, {1, 2, 3}, 255}, 1, 1}), nullptr);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");

  const auto fake = std::make_shared<testing::FakeHost>();
  orvik_private_install_host(fake);
  EXPECT_EQ(currentHost(), fake);
  orvik_private_install_host(nullptr);
  EXPECT_EQ(currentHost(), system);
  EXPECT_EQ(fake.use_count(), 1);
}

}  // namespace
}  // namespace orvik
