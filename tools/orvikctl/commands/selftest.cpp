// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>

#include "orvik/orvik_sim.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/scratch_folder.h"
#include "tools/orvikctl/selftest/report.h"
#include "tools/orvikctl/selftest/runner.h"
#include "tools/orvikctl/table.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

using selftest::CameraReport;
using selftest::Check;
using selftest::Conditions;

constexpr std::string_view kAll = "all";

struct SelftestOptions : CommonOptions {
  std::vector<std::string> models;
  std::vector<std::string> only;
  bool quick = false;
  bool listsChecks = false;
};

/// Cameras that are present at the same time.
struct Round {
  std::vector<std::string> virtualCameras;  ///< none for those on the bus
  std::string serial;                       ///< the one to try; "" tries each
};

/// "all,scene=moon": each model that there is, with the one that follows beside it.
std::vector<Round> roundsOfAll(const std::string& options) {
  constexpr const char* kSerial = "5E1F0001";
  std::vector<std::string> codes;
  for (int position = 0; const char* code = OrvikSimModel(position); ++position) {
    codes.emplace_back(code);
  }
  std::vector<Round> rounds;
  for (std::size_t n = 0; n < codes.size(); ++n) {
    const std::string first = codes[n] + options + ",serial=" + kSerial;
    rounds.push_back({{first, codes[(n + 1) % codes.size()] + options}, kSerial});
  }
  return rounds;
}

bool meansAll(const std::string& description) {
  return description.substr(0, description.find(',')) == kAll;
}

/// The part of a display name behind the maker's.
std::string modelOf(const std::string& name) {
  const std::size_t space = name.find(' ');
  return space == std::string::npos ? name : name.substr(space + 1);
}

bool isChosen(const ConnectedCamera& camera, const std::vector<std::string>& models) {
  return models.empty() || std::any_of(models.begin(), models.end(), [&](const std::string& model) {
           return foldName(model) == foldName(camera.name) ||
                  foldName(model) == foldName(modelOf(camera.name));
         });
}

std::vector<Check> chosenChecks(const std::vector<std::string>& only) {
  std::vector<Check> checks = selftest::allChecks();
  const auto isNamed = [](const Check& check, const std::string& name) {
    const std::string whole = check.name;
    return whole == name || whole.substr(0, whole.find('.')) == name;
  };
  for (const std::string& name : only) {
    if (std::none_of(checks.begin(), checks.end(),
                     [&](const Check& check) { return isNamed(check, name); })) {
      throw Failure(ExitCode::kUsage, "there is no check " + name + ". `--list` names them.");
    }
  }
  std::erase_if(checks, [&](const Check& check) {
    return !only.empty() && std::none_of(only.begin(), only.end(), [&](const std::string& name) {
      return isNamed(check, name);
    });
  });
  return checks;
}

ExitCode listChecks() {
  Table table({"CHECK", "PROMISE"});
  for (const Check& check : selftest::allChecks()) table.add({check.name, check.promise});
  table.print(std::cout);
  return ExitCode::kOk;
}

/// One run of the command.
class Run {
 public:
  explicit Run(const SelftestOptions& options)
      : options_(options), checks_(chosenChecks(options.only)) {
    conditions_.quick = options.quick;
    conditions_.scratch = scratch_.path();
    // Captures keep settings between runs. Those of this run are nobody's: they go with it.
    setenv("XDG_CONFIG_HOME", scratch_.path().c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  }

  void tryRound(const Round& round) {
    conditions_.keepsTime =
        std::none_of(round.virtualCameras.begin(), round.virtualCameras.end(),
                     [](const auto& camera) { return camera.find("pace=free") != camera.npos; });
    const ConnectedCameras cameras(round.virtualCameras);
    for (const ConnectedCamera& camera : cameras.all()) {
      const bool isMeant = round.serial.empty() || camera.serial == round.serial;
      if (isMeant && isChosen(camera, options_.models) && !interrupted()) {
        tryCamera(camera, cameras.all());
      }
    }
  }

  [[nodiscard]] const std::vector<CameraReport>& reports() const { return reports_; }

 private:
  void tryCamera(const ConnectedCamera& camera, const std::vector<ConnectedCamera>& all) {
    std::optional<int> second;
    for (const ConnectedCamera& other : all) {
      if (other.index != camera.index && other.info && !second) second = other.libraryIndex;
    }
    CameraReport report{camera.name, camera.index, camera.serial, {}};
    if (!options_.json) std::cout << headingText(report) << std::endl;
    selftest::Subject subject(camera.libraryIndex, second, conditions_);
    report.results = runChecks(subject, checks_, [this](const selftest::CheckResult& result) {
      if (!options_.json) std::cout << lineText(result) << std::endl;
    });
    reports_.push_back(std::move(report));
  }

  const SelftestOptions& options_;
  std::vector<Check> checks_;
  ScratchFolder scratch_;
  Conditions conditions_;
  std::vector<CameraReport> reports_;
};

std::vector<Round> roundsOf(const std::vector<std::string>& descriptions) {
  const auto all = std::find_if(descriptions.begin(), descriptions.end(), meansAll);
  if (all == descriptions.end()) return {{descriptions, ""}};
  if (descriptions.size() > 1) {
    throw Failure(ExitCode::kUsage, "--sim all stands for every model; give no other with it.");
  }
  return roundsOfAll(all->substr(kAll.size()));
}

ExitCode tryCameras(const SelftestOptions& options) {
  if (options.listsChecks) return listChecks();
  Run run(options);
  for (const Round& round : roundsOf(options.virtualCameras)) run.tryRound(round);
  const selftest::Tally tally = selftest::tallyOf(run.reports());
  if (options.json) {
    std::cout << selftest::reportJson(run.reports()).dump(2) << '\n';
  } else if (!run.reports().empty()) {
    std::cout << tallyText(tally) << '\n';
  }
  if (interrupted()) return ExitCode::kInterrupted;
  if (run.reports().empty()) {
    throw Failure(ExitCode::kNoCamera, options.models.empty()
                                           ? kNoCameraText
                                           : "no camera of the models that were named is there. "
                                             "Run `orvikctl list` to see the cameras.");
  }
  return tally.failed == 0 ? ExitCode::kOk : ExitCode::kFindings;
}

}  // namespace

Command addSelftest(CLI::App& program) {
  auto options = std::make_shared<SelftestOptions>();
  CLI::App* app = program.add_subcommand("selftest", "Try everything that a camera should do");
  app->add_option("models", options->models,
                  "Models to try, such as T15C or \"T13C COOL\"; all that are there without it")
      ->type_name("MODEL");
  app->add_option("--only", options->only,
                  "Try one check or group of checks, such as video or video.rate; repeat for more")
      ->type_name("CHECK")
      ->allow_extra_args(false)
      ->take_all();
  app->add_flag("--quick", options->quick, "Repeat less, and leave the longest exposures out");
  app->add_flag("--list", options->listsChecks, "Name the checks, and try none");
  addCommonOptions(*app, *options, Scope::kAllCameras);
  app->footer(
      "Each check begins with the camera in the same state, so that one failure does not bring\n"
      "others. The camera's flash is never written, its cooler never works, and settings that\n"
      "were kept between runs stay as they are. Cap the telescope or not, as you like. A second\n"
      "camera is used for the checks of two cameras at once.\n"
      "\n"
      "--sim all tries a virtual camera of every model, one after the other.\n"
      "\n"
      "The exit code is 1 when a check failed, 0 when none did.");
  return {app, [options] { return tryCameras(*options); }};
}

}  // namespace orvik::ctl
