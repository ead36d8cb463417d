// SPDX-License-Identifier: MIT
#include "camera/settings/setting_values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace orvik::settings {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;

Bytes textBytes(const std::string& text, std::size_t size) {
  Bytes bytes(text.begin(), text.end());
  bytes.resize(size);
  return bytes;
}

const Group kGroup = {
    {"Gain", Type::kDword, {200, 0, 0, 0}},
    {"TargetTemp", Type::kDword, {0xF6, 0xFF, 0xFF, 0xFF}},
    {"OO", Type::kDword, {250}},
    {"AutoExp", Type::kBinary, {1}},
    {"BMPPATH", Type::kBinary, textBytes("/home/user/dark.bmp", 256)},
    {"Foreign", Type::kBinary, textBytes("/dark\xFF", 12)},
    {"Unended", Type::kBinary, {'a', 'b', 'c', 'd', 'e'}},
    {"Empty", Type::kBinary, {}},
};

/// The value "V" of a model whose table has this line.
std::optional<Bytes> read(const std::string& right) {
  const auto group = readGroup("[M]\nV = " + right + "\n", "M");
  if (!group) return std::nullopt;
  const Value* value = find(*group, "V");
  return value == nullptr ? std::nullopt : std::optional(value->bytes);
}

TEST(SettingValues, ComeBackWithTheirTypesAndBytes) {
  const auto text = withValues({}, "T15C", kGroup);
  ASSERT_TRUE(text);
  const auto group = readGroup(*text, "T15C");
  ASSERT_TRUE(group);
  EXPECT_THAT(*group, ::testing::UnorderedElementsAreArray(kGroup));
  EXPECT_FALSE(readGroup(*text, "T10C"));
}

TEST(SettingValues, ReadAsAPersonWouldWriteThem) {
  const std::string text = withValues({}, "T15C", kGroup).value();
  EXPECT_THAT(text, HasSubstr("[T15C]"));
  EXPECT_THAT(text, HasSubstr("Gain = { type = 'dword', value = 200 }"));
  EXPECT_THAT(text, HasSubstr("value = -10 }"));
  EXPECT_THAT(text, HasSubstr("'/home/user/dark.bmp'"));
  EXPECT_THAT(text, HasSubstr("[ 47, 100, 97, 114, 107, 255, 0, 0, 0, 0, 0, 0 ]"));
}

TEST(SettingValues, MayBeWrittenByHand) {
  EXPECT_EQ(read("{ type = \"dword\", value = 4294967295 }"), (Bytes{255, 255, 255, 255}));
  EXPECT_EQ(read("{ type = \"dword\", value = 0x0102 }"), (Bytes{2, 1, 0, 0}));
  EXPECT_EQ(read("{ type = \"binary\", value = true }"), Bytes{1});
  EXPECT_EQ(read("{ type = \"binary\", value = \"ab\" }"), (Bytes{'a', 'b', 0}));
  EXPECT_EQ(read("{ type = \"binary\", bytes = 2, value = [ 7, 0 ] }"), (Bytes{7, 0}));
}

TEST(SettingValues, WhatIsNoneIsLeftOut) {
  for (const char* bad : {
           "5",
           "{ value = 5 }",
           "{ type = \"qword\", value = 5 }",
           "{ type = \"dword\" }",
           "{ type = \"dword\", value = 4294967296 }",
           "{ type = \"dword\", value = -2147483649 }",
           "{ type = \"binary\", value = 256 }",
           "{ type = \"binary\", value = -1 }",
           "{ type = \"dword\", bytes = 5, value = 1 }",
           "{ type = \"dword\", bytes = 0, value = 1 }",
           "{ type = \"dword\", bytes = -1, value = 1 }",
           "{ type = \"dword\", value = 1.5 }",
           "{ type = \"binary\", bytes = 3, value = \"abc\" }",
           "{ type = \"binary\", bytes = 3, value = [ 1, 2 ] }",
           "{ type = \"binary\", value = [ 1, 256 ] }",
           "{ type = \"binary\", bytes = 1000000000000, value = \"abc\" }",
       }) {
    EXPECT_EQ(read(bad), std::nullopt) << bad;
  }
}

TEST(SettingValues, ReplaceTheirNamesakesAndLeaveTheRest) {
  const std::string before =
      "[Other]\nkept = [ 1, \"two\" ]\n[T15C]\nGain = 3\nFPSPercentageUSB3 = 'a person was here'\n";
  const std::vector<Value> gain = {{"Gain", Type::kDword, {9, 0, 0, 0}}};
  const std::string after = withValues(before, "T15C", gain).value();
  EXPECT_THAT(after, HasSubstr("kept = [ 1, 'two' ]"));
  EXPECT_THAT(after, HasSubstr("'a person was here'"));
  EXPECT_THAT(readGroup(after, "T15C").value(), ElementsAre(gain.front()));
  EXPECT_EQ(withValues(after, "T15C", gain), after) << "the second time nothing changes";
  EXPECT_FALSE(withValues("T15C = 5\n", "T15C", gain)) << "not to be written over";
}

TEST(SettingValues, WhatWouldCostTheStackIsNoSettingsFile) {
  const auto dotted = [](std::size_t depth) {
    std::string key = "a";
    for (std::size_t n = 1; n < depth; ++n) key += ".a";
    return key;
  };
  for (const std::size_t depth : {300U, 2000U, 250'000U}) {
    const std::string key = dotted(depth);
    for (const std::string& text : {key + " = 1\n", std::string("[").append(key).append("]\n")}) {
      EXPECT_FALSE(readGroup(text, "T15C"));
      EXPECT_FALSE(withValues(text, "T15C", kGroup)) << "too deep to be written again";
    }
  }
  EXPECT_TRUE(withValues("x = [ nan, -inf, 0.001, -9223372036854775808 ]\n", "T15C", kGroup));
}

TEST(SettingValues, LettersOfEveryAlphabetStandInStringsAndRemarks) {
  for (const char* text : {
           "# \u0497\n\"\u0497\" = '\u0497'\n[T15C]\n",
           "\xEF\xBB\xBFx = \"\\\"\u0497\"\n[T15C]\n",
           "x = \"\"\"\n\u0497\"\"\"\"\"\ny = ''\nz = '''\u0497'\n'''\n[T15C]\n",
       }) {
    EXPECT_TRUE(readGroup(text, "T15C")) << text;
  }
  EXPECT_FALSE(readGroup("x = \"\"\u0497\n[T15C]\n", "T15C"));
  EXPECT_FALSE(readGroup("x = \"\\\\\"\u0497\n[T15C]\n", "T15C"));
}

TEST(SettingValues, AnyTextCanBeRead) {
  const std::string whole = withValues({}, "T15C", kGroup).value();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    readGroup(std::string_view(whole).substr(0, length), "T15C");
    withValues(std::string_view(whole).substr(0, length), "T15C", kGroup);
  }
  std::mt19937 random(1);
  for (int round = 0; round < 3000; ++round) {
    std::string text = whole;
    for (int n = 0; n < 4; ++n) text[random() % text.size()] = static_cast<char>(random());
    const auto written = withValues(text, "T15C", kGroup);
    if (!written) continue;
    const auto group = readGroup(*written, "T15C");
    ASSERT_TRUE(group);
    for (const Value& value : kGroup) {
      const Value* found = find(*group, value.name);
      ASSERT_NE(found, nullptr);
      EXPECT_EQ(*found, value);
    }
  }
}

}  // namespace
}  // namespace orvik::settings
