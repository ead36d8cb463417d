// SPDX-License-Identifier: MIT
#include "trace/conversation.h"

#include <gtest/gtest.h>

namespace orvik::trace {
namespace {

const std::string kStart =
    "orvik-conversation 1\n"
    "device 2/1.4/5 4F56 1500\n"
    "open 1 2/1.4/5 super\n";

TEST(ConversationFile, IsReadAsItIsDocumented) {
  Conversation read;
  ASSERT_EQ(readConversation(kStart + "device 2/1.4/5 4F56 1500  # listed again\n"
                                      "claim 1 0 ok\n"
                                      "control 1 1200 C0 AD 0000 0000 2 ok 5603\n"
                                      "control 1 1300 40 B6 3009 0011 0 stalled -\n"
                                      "\n"
                                      "bulk 1 9000 81 64 ok 40 00000000DEADBEEF 0102..0304\n"
                                      "bulk 1 9100 81 4 !nomemory 0 0000000000000000 -\n"
                                      "clear 1 ok\n"
                                      "close 1\n"
                                      "open 2 2/1.4/5 refused\n"
                                      "control 1 99 C0 AD",  // cut off
                             read),
            "");
  ASSERT_EQ(read.devices.size(), 1U);
  EXPECT_EQ(read.devices[0].location.ports, (std::vector<std::uint8_t>{1, 4}));
  EXPECT_EQ(read.devices[0].productId, 0x1500);
  ASSERT_EQ(read.openings.size(), 2U);
  EXPECT_FALSE(read.openings[1].opened);
  const Opening& opening = read.openings[0];
  EXPECT_EQ(opening.speed, seam::Speed::kSuper);
  ASSERT_EQ(opening.controls.size(), 2U);
  EXPECT_EQ(opening.controls[0].line, 6U);
  EXPECT_EQ(opening.controls[0].data, (std::vector<std::uint8_t>{0x56, 0x03}));
  EXPECT_EQ(opening.controls[1].outcome.status, seam::TransferStatus::kStalled);
  EXPECT_EQ(opening.controls[1].setup.index, 0x11);
  ASSERT_EQ(opening.bulks.size(), 2U);
  EXPECT_EQ(opening.bulks[0].bytes, 40U);
  EXPECT_EQ(opening.bulks[0].tail, (std::vector<std::uint8_t>{3, 4}));
  EXPECT_TRUE(opening.bulks[1].outcome.refused);
}

TEST(ConversationFile, WhatIsNoRecordingIsRefusedByLine) {
  Conversation read;
  EXPECT_EQ(readConversation("SIMPLE  = T\n", read),
            "Line 1: this is no recording of a conversation.");
  for (const char* line :
       {"speak 1", "control", "control 2 0 C0 AD 0000 0000 2 ok 5603", "device 2 4F56 1500",
        "device 2/1.2.3.4.5.6.7.8/3 4F56 1500", "device 2/300/3 4F56 1500", "open 2 2/1/3 fast",
        "control 1 0 C0 AD 0000 0000 1 ok 5603", "control 1 0 C0 AD 0000 0000 2 ok 56G3",
        "control 1 0 C0 AD 0000 0000 2 fine 5603", "control 1 0 C0 AD 0000 0000 2 ok 560",
        "bulk 1 0 81 4 ok 5 0 0102030405", "bulk 1 0 81 99999999999 ok 0 0 -",
        "bulk 1 0 81 8 ok 5 0 0102", "bulk 1 0 81 8 ok 3 0 0102..0304", "claim 1 0 perhaps"}) {
    EXPECT_EQ(readConversation(kStart + line + "\n", read), "Line 4: it cannot be understood.")
        << line;
  }
}

}  // namespace
}  // namespace orvik::trace
