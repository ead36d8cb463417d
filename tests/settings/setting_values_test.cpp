// SPDX-License-Identifier: MIT
#include "settings/setting_values.h"

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

/// @return the value "V" of a model that has no other values
std::optional<Bytes> read(const std::string& entry) {
  const auto group = readGroup(R"({"M": {"V": )" + entry + "}}", "M");
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
  EXPECT_TRUE(text.starts_with("{\n  \"T15C\": {\n    \"AutoExp\": ")) << text;
  EXPECT_THAT(text, HasSubstr(R"(
    "Gain": {"type":"dword","value":200},
)"));
  EXPECT_THAT(text, HasSubstr(R"("value":-10})"));
  EXPECT_THAT(text, HasSubstr(R"("/home/user/dark.bmp")"));
  EXPECT_THAT(text, HasSubstr("[47,100,97,114,107,255,0,0,0,0,0,0]"));
}

TEST(SettingValues, MayBeWrittenByHand) {
  EXPECT_EQ(read(R"({"type": "dword", "value": 4294967295})"), (Bytes{255, 255, 255, 255}));
  EXPECT_EQ(read(R"({"type": "binary", "value": true})"), Bytes{1});
  EXPECT_EQ(read(R"({"type": "binary", "value": "ab"})"), (Bytes{'a', 'b', 0}));
  EXPECT_EQ(read(R"({"type": "binary", "bytes": 2, "value": [ 7, 0 ]})"), (Bytes{7, 0}));
  EXPECT_EQ(read("/* \u0497 */ {\"type\": \"binary\", // \u0497\n\"value\": \"\u0497\"}"),
            (Bytes{0xD2, 0x97, 0}));
}

TEST(SettingValues, WhatIsNoneIsLeftOut) {
  for (const char* bad : {
           R"(5)",
           R"({"value": 5})",
           R"({"type": "qword", "value": 5})",
           R"({"type": "dword"})",
           R"({"type": "dword", "value": null})",
           R"({"type": "dword", "value": 4294967296})",
           R"({"type": "dword", "value": 18446744073709551615})",
           R"({"type": "dword", "value": -2147483649})",
           R"({"type": "binary", "value": 256})",
           R"({"type": "binary", "value": -1})",
           R"({"type": "dword", "bytes": 5, "value": 1})",
           R"({"type": "dword", "bytes": 0, "value": 1})",
           R"({"type": "dword", "bytes": -1, "value": 1})",
           R"({"type": "dword", "value": 1.5})",
           R"({"type": "binary", "bytes": 3, "value": "abc"})",
           R"({"type": "binary", "bytes": 3, "value": [ 1, 2 ]})",
           R"({"type": "binary", "value": [ 1, 256 ]})",
           R"({"type": "binary", "bytes": 1000000000000, "value": "abc"})",
       }) {
    EXPECT_EQ(read(bad), std::nullopt) << bad;
  }
}

TEST(SettingValues, ReplaceTheirNamesakesAndLeaveTheRest) {
  const std::string before = R"({"Other": [ 1, {"kept": "two"}, 0.001, -9223372036854775808 ],
      "T15C": {"Gain": 3, "FPSPercentageUSB3": "a person was here"}})";
  const std::vector<Value> gain = {{"Gain", Type::kDword, {9, 0, 0, 0}}};
  const std::string after = withValues(before, "T15C", gain).value();
  EXPECT_THAT(after, HasSubstr(R"([1,{"kept":"two"},0.001,-9223372036854775808])"));
  EXPECT_THAT(after, HasSubstr(R"("a person was here")"));
  EXPECT_THAT(readGroup(after, "T15C").value(), ElementsAre(gain.front()));
  EXPECT_EQ(withValues(after, "T15C", gain), after) << "the second time nothing changes";
  EXPECT_FALSE(withValues(R"({"T15C": 5})", "T15C", gain)) << "not to be written over";
}

TEST(SettingValues, WhatWouldCostTheStackIsNoSettingsFile) {
  for (const std::size_t depth : {100U, 300'000U}) {
    const std::string text = R"({"a": )" + std::string(depth, '[') + std::string(depth, ']') + "}";
    EXPECT_FALSE(readGroup(text, "T15C"));
    EXPECT_FALSE(withValues(text, "T15C", kGroup));
  }
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
