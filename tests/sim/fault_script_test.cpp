// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "sim/fault/script.h"
#include "sim/plug_options.h"

namespace orvik::fault {
namespace {

Script parsed(std::string_view text) {
  Script script;
  EXPECT_EQ(parseScript(text, script), "") << text;
  return script;
}

TEST(FaultScript, ReadsTargetsAmountsAndConditions) {
  const Script script = parsed(
      "# a bad cable\n"
      "bulk short 6 every 10 from 100 to 200\n"
      "control B6 fail at 17; any delay 5..30 chance 0.25\r\n"
      "\n"
      "seed 9 ; bulk flip -1;open refuse at 1; any unplug at 500");
  ASSERT_EQ(script.rules.size(), 6U);
  EXPECT_EQ(script.seed, 9U);
  const Rule& cable = script.rules[0];
  EXPECT_EQ(cable.target, Target::kBulk);
  EXPECT_EQ(cable.action, Action::kShort);
  EXPECT_EQ(cable.amount, 6);
  EXPECT_EQ(cable.when.every, 10U);
  EXPECT_EQ(cable.when.first, 100U);
  EXPECT_EQ(cable.when.last, 200U);
  EXPECT_EQ(script.rules[1].request, 0xB6);
  EXPECT_EQ(script.rules[1].when.first, 17U);
  EXPECT_EQ(script.rules[1].when.last, 17U);
  EXPECT_EQ(script.rules[2].amount, 5);
  EXPECT_EQ(script.rules[2].spread, 25);
  EXPECT_EQ(script.rules[2].when.chance, 0.25);
  EXPECT_EQ(script.rules[3].amount, -1);
  EXPECT_EQ(script.rules[4].target, Target::kOpen);
  EXPECT_EQ(script.rules[5].action, Action::kUnplug);
  EXPECT_TRUE(parsed(" \n;;# nothing\n").rules.empty());
}

TEST(FaultScript, RefusesWhatItDoesNotUnderstand) {
  std::istringstream texts(
      "frame short|bulk|control B6|control XY fail|bulk short 0|bulk short 1..2|"
      "bulk delay 30..5|bulk delay 60001|bulk empty 3|control empty|any tear|open fail|"
      "bulk fail at|bulk fail at 0|bulk fail chance 1.5|bulk fail chance nan|"
      "bulk fail sometimes|bulk fail every 0|seed|bulk fail;bulk|bulk flip 99999999999");
  for (std::string text; std::getline(texts, text, '|');) {
    Script script;
    const std::string refusal = parseScript(text, script);
    ASSERT_FALSE(refusal.empty()) << text;
    EXPECT_EQ(refusal.back(), '.') << refusal;
  }
}

/// The rows of the documentation's table.
std::string documentedFaults() {
  std::string rows;
  for (int number = 0; number < kActions; ++number) {
    const ActionFacts facts = actionFacts(static_cast<Action>(number));
    const std::string name(facts.name);
    const bool counts = facts.amount.kind != Amount::Kind::kNone;
    const bool ranges = facts.amount.kind == Amount::Kind::kTimeRange;
    rows += "| `" + name + (counts ? " N" : "") + (ranges ? "`, `" + name + " N..M" : "") + "` | " +
            (facts.onControl ? "any" : "bulk") + (facts.onOpening ? ", open, claim" : "") + " | " +
            (counts ? std::to_string(facts.amount.usual) : "") + " | " + std::string(facts.effect) +
            " |\n";
  }
  return rows;
}

TEST(FaultScript, TheDocumentationListsEveryFault) {
  std::ifstream in(ORVIK_FAULTS_DOCUMENT);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  EXPECT_NE(text.find(documentedFaults()), std::string::npos) << documentedFaults();
}

TEST(FaultScript, IsAnOptionOfAVirtualCamera) {
  sim::CameraOptions options;
  EXPECT_EQ(sim::parsePlugOptions("pace=free,fault=bulk stall at 3; claim refuse,seed=2", options),
            "");
  EXPECT_EQ(options.faults.rules.size(), 2U);
  EXPECT_EQ(sim::parsePlugOptions("fault=bulk shrink", options),
            "The option 'fault': There is no fault 'shrink'.");
}

}  // namespace
}  // namespace orvik::fault
