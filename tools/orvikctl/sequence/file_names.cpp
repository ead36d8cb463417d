// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/file_names.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "imaging/errors.h"
#include "imaging/image_encoder.h"
#include "imaging/name_pattern.h"
#include "imaging/time_text.h"
#include "tools/orvikctl/failure.h"

namespace orvik::ctl {
namespace {

struct Placeholder {
  std::string_view name;
  std::string (*value)(const SequencePlan& plan, const StepPlan& step);
};

std::string numberText(const std::optional<int>& number) {
  return number ? std::to_string(*number) : "";
}

/// Without the space between number and unit.
std::string exposureText(const StepPlan& step) {
  if (!step.exposure) return "";
  std::string text = imaging::formatDuration(step.exposure->count());
  std::erase(text, ' ');
  return text;
}

constexpr std::array kPlaceholders = {
    Placeholder{"object", [](const SequencePlan& plan, const StepPlan&) { return plan.object; }},
    Placeholder{"telescope",
                [](const SequencePlan& plan, const StepPlan&) { return plan.telescope; }},
    Placeholder{"kind", [](const SequencePlan&, const StepPlan& step) { return step.kind; }},
    Placeholder{"filter", [](const SequencePlan&, const StepPlan& step) { return step.filter; }},
    Placeholder{"exposure",
                [](const SequencePlan&, const StepPlan& step) { return exposureText(step); }},
    Placeholder{"bin",
                [](const SequencePlan&, const StepPlan& step) { return numberText(step.bin); }},
    Placeholder{"gain",
                [](const SequencePlan&, const StepPlan& step) { return numberText(step.gain); }},
    Placeholder{"temperature", [](const SequencePlan& plan,
                                  const StepPlan&) { return numberText(plan.cooling.target); }},
};

/// A value as a part of a file's name, within a pattern of names.
std::string cleaned(const std::string& value) {
  std::string text;
  for (const char letter : value) {
    const auto code = static_cast<unsigned char>(letter);
    if (letter == '/' || letter == '\\' || code <= 0x20 || code == 0x7F) {
      text += '_';
    } else {
      text += letter;
      if (letter == '%') text += '%';
    }
  }
  // A name that begins with a dot is hidden, or another folder.
  return text.substr(std::min(text.find_first_not_of('.'), text.size()));
}

std::string valueOf(std::string_view name, const SequencePlan& plan, const StepPlan& step) {
  std::string all;
  for (const Placeholder& one : kPlaceholders) {
    if (one.name == name) return cleaned(one.value(plan, step));
    all.append(" {").append(one.name).append("}");
  }
  throw imaging::NameError(plan.name + ": there is no {" + std::string(name) +
                           "}. There are:" + all + ".");
}

/// The name of a step's files, with its number still to be put in.
std::string patternOf(const SequencePlan& plan, const StepPlan& step) {
  const std::string_view text = plan.name;
  std::string pattern;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] != '{') {
      pattern += text[i++];
      continue;
    }
    const std::size_t end = text.find('}', i);
    if (end == std::string_view::npos) throw imaging::NameError(plan.name + ": a '}' is missing.");
    const std::string value = valueOf(text.substr(i + 1, end - i - 1), plan, step);
    const bool hasSeparator =
        !pattern.empty() && std::string_view("_- ").find(pattern.back()) != std::string_view::npos;
    if (value.empty() && hasSeparator) pattern.pop_back();
    pattern += value;
    i = end + 1;
  }
  return pattern;
}

}  // namespace

std::vector<PlannedImage> plannedImages(const SequencePlan& plan) {
  if (imaging::encoderFor(plan.name) == nullptr) {
    throw imaging::NameError(plan.name + ": the extension chooses the format; use .fits or .png.");
  }
  std::vector<PlannedImage> images;
  std::map<std::string, std::int64_t> taken;  // images with this pattern so far
  std::set<std::filesystem::path> files;
  for (std::int64_t round = 0; round < plan.repeat; ++round) {
    for (std::size_t index = 0; index < plan.steps.size(); ++index) {
      const std::string pattern = patternOf(plan, plan.steps[index]);
      const imaging::NamePattern names(pattern);
      for (std::int64_t n = 0; n < plan.steps[index].count; ++n) {
        const std::filesystem::path file = names.name(++taken[pattern]).lexically_normal();
        if (!files.insert(file).second) {
          throw imaging::NameError(plan.name + ": several images would be " + file.string() +
                                   ". Put a number such as %03d into the name, and {kind}, "
                                   "{filter} or {exposure} where steps differ.");
        }
        images.push_back({index, file});
        if (std::ssize(images) > kMostImages) {
          throw Failure(ExitCode::kUsage,
                        "a sequence may have up to " + std::to_string(kMostImages) + " images.");
        }
      }
    }
  }
  return images;
}

}  // namespace orvik::ctl
