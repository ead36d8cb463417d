// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/plan_reader.h"

#include <cmath>
#include <fstream>

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/sequence/plan_table.h"
#include "tools/orvikctl/sequence/toml.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

CoolingOptions coolingOf(PlanTable table) {
  CoolingOptions cooling;
  cooling.target = static_cast<int>(table.requireWhole("to", -100, 100));
  cooling.ramp = table.number("ramp", 0.1, 60);
  if (const auto settle = table.time("settle")) {
    cooling.settles = true;
    cooling.settle = std::to_string(settle->count()) + "us";
  }
  cooling.keepCold = table.flag("keep_cold").value_or(false);
  table.refuseOthers();
  return cooling;
}

DitherPlan ditherOf(PlanTable table) {
  using std::chrono::milliseconds;
  constexpr milliseconds kShortest(1);
  constexpr milliseconds kLongest(ORVIK_MAX_PULSE_MS / 2);  // to the opposite border
  DitherPlan dither;
  const auto pulse = table.time("pulse");
  const auto pixels = table.number("pixels", 0.1, 1000);
  const auto rate = table.number("pixels_per_second", 0.01, 1000);
  dither.every = static_cast<int>(table.whole("every", 1, kMostImages).value_or(dither.every));
  dither.settle = table.time("settle").value_or(dither.settle);
  table.refuseOthers();
  if (pulse.has_value() == pixels.has_value() || pixels.has_value() != rate.has_value()) {
    table.refuse("give either pulse, or pixels with pixels_per_second");
  }
  dither.pulse = pulse ? std::chrono::duration_cast<milliseconds>(*pulse)
                       : milliseconds(std::lround(1000 * *pixels / *rate));
  if (dither.pulse < kShortest || dither.pulse > kLongest) {
    table.refuse("pulses may last from 1 ms to " + std::to_string(kLongest.count()) + " ms");
  }
  return dither;
}

StepPlan stepOf(PlanTable table) {
  StepPlan step;
  step.kind = table.oneOf("kind", {"light", "dark", "bias", "flat"}).value_or(step.kind);
  step.exposure = table.time("exposure");
  const auto level = table.levelText("target_adu");
  const auto longest = table.time("max_exposure");
  step.count = table.whole("count", 1, kMostImages).value_or(1);
  step.filter = table.text("filter").value_or("");
  step.pause = table.text("pause").value_or("");
  const auto small = [](std::optional<std::int64_t> number) -> std::optional<int> {
    if (!number) return std::nullopt;
    return static_cast<int>(*number);
  };
  step.gain = small(table.whole("gain", 0, 100'000));
  step.offset = small(table.whole("offset", 0, 100'000));
  step.bin = small(table.whole("bin", 1, 16));
  step.type = table.text("type").value_or("");
  step.region = table.text("roi").value_or("");
  table.refuseOthers();
  if (level) step.flat = FlatTarget{.level = *level, .longest = longest.value_or(kLongestFlat)};
  if (step.exposure.has_value() == level.has_value()) {
    table.refuse("a step needs either exposure or target_adu");
  }
  if (longest && !level) table.refuse("max_exposure belongs to target_adu");
  if (!step.region.empty() && !parseRegion(step.region)) {
    table.refuse("roi: write WIDTHxHEIGHT or WIDTHxHEIGHT+X+Y, as in 640x480+8+16");
  }
  return step;
}

std::optional<CommandPlan> commandOf(PlanTable& table) {
  const auto text = table.text("command");
  const auto limit = table.time("command_timeout");
  const auto mustSucceed = table.flag("command_must_succeed");
  if (!text) {
    if (limit || mustSucceed) table.refuse("command_timeout and command_must_succeed need command");
    return std::nullopt;
  }
  CommandPlan command{.text = *text};
  command.limit = limit.value_or(command.limit);
  command.mustSucceed = mustSucceed.value_or(false);
  return command;
}

SequencePlan planOf(PlanTable table) {
  SequencePlan plan;
  plan.object = table.text("object").value_or("");
  plan.observer = table.text("observer").value_or("");
  plan.telescope = table.text("telescope").value_or("");
  const auto folder = table.text("folder");
  plan.name = table.text("name").value_or("{object}_{kind}_{filter}_{exposure}_%03d.fits");
  if (folder) plan.name = *folder + "/" + plan.name;
  plan.repeat = table.whole("repeat", 1, kMostImages).value_or(1);
  plan.interval = table.time("interval");
  if (const auto cool = table.table("cool")) plan.cooling = coolingOf(*cool);
  if (const auto dither = table.table("dither")) plan.dither = ditherOf(*dither);
  plan.command = commandOf(table);
  for (const PlanTable& step : table.tables("step")) plan.steps.push_back(stepOf(step));
  table.refuseOthers();
  if (plan.steps.empty()) table.refuse("a plan needs at least one [[step]]");
  return plan;
}

}  // namespace

SequencePlan parsePlan(std::string_view text, const std::string& name) {
  try {
    const toml::table root = toml::parse(text);
    return planOf(PlanTable(root, name));
  } catch (const toml::parse_error& error) {
    throw Failure(ExitCode::kUsage, name + ":" + std::to_string(error.source().begin.line) + ": " +
                                        std::string(error.description()) + ".");
  }
}

SequencePlan readPlan(const std::filesystem::path& file) {
  constexpr std::size_t kLargest = 1'000'000;  // bytes; a plan has a few hundred
  std::ifstream stream(file, std::ios::binary);
  std::string text(kLargest + 1, '\0');
  if (stream) stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  const auto size = static_cast<std::size_t>(stream.gcount());
  if (stream.bad() || (size == 0 && !stream.eof()) || size > kLargest) {
    throw Failure(ExitCode::kFileFailed, "cannot read the plan " + file.string() + ".");
  }
  text.resize(size);
  return parsePlan(text, file.string());
}

StepPlan parseStep(const std::string& text) {
  const auto refuse = [&] {
    throw Failure(ExitCode::kUsage,
                  text +
                      ": write a step as KIND:COUNTxEXPOSURE[:FILTER], as in light:20x300s:Ha, "
                      "or flat:15x50%; kinds are light, dark, bias and flat. The name of a plan "
                      "ends with .toml.");
  };
  StepPlan step;
  const std::size_t colon = text.find(':');
  const std::size_t times = text.find('x', colon);
  if (colon == std::string::npos || times == std::string::npos) refuse();
  const std::size_t second = text.find(':', times);
  step.kind = text.substr(0, colon);
  const bool isKind =
      step.kind == "light" || step.kind == "dark" || step.kind == "bias" || step.kind == "flat";
  const auto count = parseInteger(text.substr(colon + 1, times - colon - 1));
  if (!isKind || !count || *count < 1 || *count > kMostImages) refuse();
  step.count = *count;
  const std::string brightness = text.substr(times + 1, second - times - 1);
  if (second != std::string::npos) step.filter = text.substr(second + 1);
  if (const auto level = parseLevel(brightness); level && brightness.ends_with('%')) {
    step.flat = FlatTarget{.level = *level};
    return step;
  }
  const auto exposure = parseDuration(brightness);
  if (!exposure || *exposure == 0) refuse();
  step.exposure = Microseconds(*exposure);
  return step;
}

}  // namespace orvik::ctl
