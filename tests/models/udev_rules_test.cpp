// SPDX-License-Identifier: MIT
// The udev rules are generated from the catalogue. This test generates them, or checks that they
// are up to date.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <string>

#include "models/catalogue.h"
#include "seam/identity.h"

namespace orvik::test {
namespace {

constexpr const char* kHead =
    "# Who may use the cameras: whoever sits at the machine, and the group plugdev.\n"
    "# Made by `./dev models` from the list of models. The number in the file's name is below 73:\n"
    "# there the rules for seats look at the tag.\n"
    "\n"
    "SUBSYSTEM!=\"usb\", GOTO=\"orvik_end\"\n"
    "ENV{DEVTYPE}!=\"usb_device\", GOTO=\"orvik_end\"\n"
    "ACTION==\"remove\", GOTO=\"orvik_end\"\n";

constexpr const char* kTail =
    "GOTO=\"orvik_end\"\n"
    "\n"
    "LABEL=\"orvik_camera\"\n"
    "MODE=\"0660\", GROUP=\"plugdev\", TAG+=\"uaccess\"\n"
    "# The system is not to suspend a camera that nobody happens to read.\n"
    "TEST==\"power/control\", ATTR{power/control}=\"on\"\n"
    "\n"
    "LABEL=\"orvik_end\"\n";

std::string hex(std::uint16_t number) {
  std::ostringstream text;
  text << std::hex << std::setw(4) << std::setfill('0') << number;
  return text.str();
}

std::string rules() {
  std::ostringstream text;
  text << kHead << "ATTR{idVendor}!=\"" << hex(identity::kVendorId) << "\", GOTO=\"orvik_end\"\n\n";
  for (const ModelRow* model : allModels()) {
    for (const Product& product : model->products) {
      if (product.id == 0) continue;
      text << "# " << (product.name != nullptr ? product.name : model->name) << "\n"
           << "ATTR{idProduct}==\"" << hex(product.id) << "\", GOTO=\"orvik_camera\"\n";
    }
  }
  text << kTail;
  return text.str();
}

TEST(UdevRulesTest, AreTheCatalogue) {
  if (std::getenv("ORVIK_WRITE_FILES") != nullptr) {
    std::ofstream(ORVIK_UDEV_RULES) << rules();
    return;
  }
  std::ifstream file(ORVIK_UDEV_RULES);
  const std::string present{std::istreambuf_iterator<char>(file), {}};
  EXPECT_EQ(present, rules()) << "`./dev models` brings the udev rules up to date";
}

}  // namespace
}  // namespace orvik::test
