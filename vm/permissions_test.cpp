// SPDX-License-Identifier: MIT
// Tests the udev rule with the real udev of the guest.
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <optional>

#include "vm/guest_bench.h"

namespace orvik::vm {
namespace {

namespace fs = std::filesystem;

std::string firstLine(const fs::path& file) {
  std::string line;
  std::getline(std::ifstream(file) >> std::ws, line);
  return line;
}

/// The sysfs folder of the only camera on the bus; "" when there is none.
fs::path camera() {
  for (const auto& device : fs::directory_iterator("/sys/bus/usb/devices")) {
    if (firstLine(device.path() / "idVendor") == "4f56") return device.path();
  }
  return {};
}

std::string nodeOf(const fs::path& device) {
  char node[64];
  std::snprintf(node, sizeof node, "/dev/bus/usb/%03d/%03d",
                std::stoi(firstLine(device / "busnum")), std::stoi(firstLine(device / "devnum")));
  return node;
}

/// Whether a user without privileges can open a file for reading and writing.
/// @param group of which the user is a member
bool mayOpen(const std::string& file, std::optional<gid_t> group) {
  constexpr uid_t kNobody = 65534;
  const pid_t child = fork();
  if (child == 0) {
    const gid_t member = group.value_or(kNobody);
    if (setgroups(1, &member) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) _exit(2);
    _exit(open(file.c_str(), O_RDWR | O_CLOEXEC) >= 0 ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2);
  return status == 0;
}

TEST(Permissions, TheRuleGivesTheCameraToPlugdevAndToTheSeat) {
  const PluggedCamera plugged("T15C");
  const group* const plugdev = getgrnam("plugdev");
  ASSERT_NE(plugdev, nullptr);
  const fs::path device = camera();
  ASSERT_NE(device, "");
  const std::string node = nodeOf(device);
  struct stat owner {};
  EXPECT_TRUE(waitFor([&] {
    return stat(node.c_str(), &owner) == 0 && owner.st_gid == plugdev->gr_gid;
  })) << "udev did not follow the rule";
  EXPECT_EQ(owner.st_mode & 0777U, 0660U);
  EXPECT_TRUE(mayOpen(node, plugdev->gr_gid));
  EXPECT_FALSE(mayOpen(node, std::nullopt)) << "others stay out";
  const std::string tag = "/run/udev/tags/uaccess/c" + std::to_string(major(owner.st_rdev)) + ":" +
                          std::to_string(minor(owner.st_rdev));
  EXPECT_TRUE(waitFor([&] { return fs::exists(tag); })) << "who sits at the machine gets no access";
  EXPECT_TRUE(waitFor([&] { return firstLine(device / "power/control") == "on"; }))
      << "the system may suspend it";
}

}  // namespace
}  // namespace orvik::vm
