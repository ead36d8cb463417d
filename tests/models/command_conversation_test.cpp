// SPDX-License-Identifier: MIT
// Tests the requests to a T02C, whose sensor is controlled by commands. The scripted sensor stores
// its variables and can be made slow.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "models/models.h"
#include "seam/identity.h"
#include "support/scripted_bench.h"
#include "support/take_image.h"

namespace orvik::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CommandConversationTest : public ::testing::Test {
 protected:
  explicit CommandConversationTest(
      std::shared_ptr<seam::Clock> clock = std::make_shared<SteppedClock>())
      : bench_(std::move(clock)) {
    bench_.plug(scripted_);
    scripted_.onByte = [this](std::uint16_t address) {
      if (address == 0x0010) carryOut();
    };
    scripted_.bytes[0x0011] = 1;
  }

  void open() {
    ASSERT_TRUE(camera_.open(1));
    ASSERT_TRUE(camera_.initialise());
    forget();
  }

  void forget() {
    scripted_.conversation.take();
    commands_.clear();
    written_.clear();
  }

  std::uint16_t pair(std::uint16_t address) {
    return static_cast<std::uint16_t>(scripted_.bytes[address] << 8 |
                                      scripted_.bytes[static_cast<std::uint16_t>(address + 1)]);
  }

  void carryOut() {
    std::uint8_t& command = scripted_.bytes[0x0010];
    commands_.push_back(command);
    if (command == deafTo_) return;
    if (command == 4) written_.emplace_back(pair(0x0012), variables_[pair(0x0012)] = pair(0x0014));
    if (command == 5) {
      const std::uint16_t value = variables_[pair(0x0012)];
      scripted_.bytes[0x0014] = static_cast<std::uint8_t>(value >> 8);
      scripted_.bytes[0x0015] = static_cast<std::uint8_t>(value & 0xFF);
    }
    command = 0;
  }

  using Written = std::vector<std::pair<int, int>>;

  ScriptedBench bench_;
  ScriptedCamera scripted_{identity::PID_T02C_B};
  std::map<std::uint16_t, std::uint16_t> variables_;
  Written written_;
  std::vector<int> commands_;
  int deafTo_ = 0;
  T02C camera_;
};

TEST_F(CommandConversationTest, AVariableIsWrittenAndReadByFourRegistersAndACommand) {
  open();
  ASSERT_TRUE(camera_.sensor().write(camera_.link(), 0x0114, 0x1234));
  EXPECT_THAT(scripted_.conversation.take(),
              ElementsAre("S0012=01", "S0013=14", "S0014=12", "S0015=34", "S0010=04", "RB7"));
  std::uint16_t value = 0;
  ASSERT_TRUE(camera_.sensor().read(camera_.link(), 0x0114, value));
  EXPECT_EQ(value, 0x1234);
  EXPECT_THAT(scripted_.conversation.take(),
              ElementsAre("S0012=01", "S0013=14", "S0010=05", "RB7", "RB7", "RB7"));
}

TEST_F(CommandConversationTest, SettingsAreVariablesThatAreTakenOver) {
  open();
  ASSERT_TRUE(camera_.setResolution(640, 480, 1, IMAGE_8BIT));
  // The region is centred: row 16, column 44. A line has 728 + 94 cycles of 24 MHz, which is
  // 34.25 us: 33000 us are 963 lines, which make the frame longer than 480 + 18 lines.
  EXPECT_THAT(written_,
              ElementsAre(std::pair(0x0100, 16), std::pair(0x0102, 44), std::pair(0x0104, 480),
                          std::pair(0x0106, 640), std::pair(0x010A, 822), std::pair(0x0108, 964),
                          std::pair(0x010C, 963), std::pair(0x0108, 964), std::pair(0x010C, 963)));
  EXPECT_THAT(commands_, ElementsAre(4, 4, 1, 4, 4, 1, 4, 1, 4, 4, 1, 4, 4, 1));

  forget();
  camera_.setGain(50, false);
  camera_.setWhiteBalance(50, 99, false);
  camera_.setBrightness(7);
  EXPECT_THAT(written_, ElementsAre(std::pair(0x010E, 68), std::pair(0x0110, 128),
                                    std::pair(0x0112, 253), std::pair(0x0114, 7)));
}

TEST_F(CommandConversationTest, GainIsAPowerOfTwoAndItsThirtySeconds) {
  // 32 + gain * 224 / 100: 32, 34, 63 (one short of the next power), 65, 144, 256
  EXPECT_EQ(T02C::gainCode(0), 0);
  EXPECT_EQ(T02C::gainCode(1), 2);
  EXPECT_EQ(T02C::gainCode(14), 31);
  EXPECT_EQ(T02C::gainCode(15), 32);
  EXPECT_EQ(T02C::gainCode(50), 68);
  EXPECT_EQ(T02C::gainCode(100), 96);
}

TEST_F(CommandConversationTest, ASensorThatDoesNotGetDoneIsGivenUp) {
  open();
  deafTo_ = 2;
  const auto before = bench_.clock->now();
  EXPECT_FALSE(camera_.sensor().issue(camera_.link(), CommandSensor::Command::kStandby));
  EXPECT_EQ(bench_.clock->now() - before, std::chrono::milliseconds(49));
  EXPECT_EQ(scripted_.conversation.take().size(), 1U + 50);

  scripted_.bytes[0x0010] = 0;
  scripted_.bytes[0x0011] = 3;
  EXPECT_EQ(CommandSensor::readState(camera_.link()), CommandSensor::State::kChanging);
  scripted_.conversation.take();
  EXPECT_FALSE(camera_.sensor().apply(camera_.link()));
  EXPECT_EQ(scripted_.conversation.take().size(), 2U + 100);
  scripted_.bytes[0x0011] = 0;
  EXPECT_FALSE(camera_.sensor().apply(camera_.link()));
  scripted_.bytes[0x0011] = 2;
  EXPECT_TRUE(camera_.sensor().apply(camera_.link()));
}

class CommandStreamTest : public CommandConversationTest {
 protected:
  CommandStreamTest() : CommandConversationTest(std::make_shared<seam::SteadyClock>()) {}
};

TEST_F(CommandStreamTest, StreamingStopsAndRunsByCommand) {
  open();
  ASSERT_TRUE(camera_.setResolution(64, 64, 1, IMAGE_8BIT));
  forget();
  scripted_.device->bulk = [](std::uint8_t) {
    std::vector<std::uint8_t> frame(64 * 64, 0);
    std::ranges::copy(std::array<std::uint8_t, 4>{0x11, 0xAA, 0x00, 0xBB}, frame.end() - 4);
    return testing::Answer{.data = std::move(frame), .delay = std::chrono::milliseconds(10)};
  };
  ASSERT_TRUE(camera_.startCapture(true));
  std::vector<unsigned char> image(64 * 64);
  EXPECT_TRUE(takeImage(camera_, image));
  camera_.stopCapture();
  EXPECT_THAT(commands_, ElementsAre(2, 3, 2));
}

}  // namespace
}  // namespace orvik::test
