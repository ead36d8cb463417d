// SPDX-License-Identifier: MIT
#include "tools/orvikctl/selftest/runner.h"

#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/selftest/expect.h"

namespace orvik::ctl::selftest {
namespace {

/// False when the camera could not be settled.
bool tryCheck(const Check& check, Subject& subject, CheckResult& result) {
  bool settled = false;
  try {
    subject.settle();
    settled = true;
    result.detail = check.run(subject);
  } catch (const CheckSkipped& reason) {
    result.verdict = Verdict::kSkip;
    result.detail = reason.what();
  } catch (const CheckFailure& failure) {
    result.verdict = Verdict::kFail;
    result.detail = settled ? failure.what() : std::string("before the check: ") + failure.what();
  }
  return settled;
}

}  // namespace

std::vector<CheckResult> runChecks(Subject& subject, std::span<const Check> checks,
                                   const ResultSink& sink) {
  std::vector<CheckResult> results;
  bool usable = true;
  for (const Check& check : checks) {
    if (interrupted()) break;
    CheckResult result{.name = check.name, .promise = check.promise};
    if (usable) {
      const StopWatch watch;
      usable = tryCheck(check, subject, result);
      result.seconds = watch.milliseconds() / 1000;
    } else {
      result.verdict = Verdict::kSkip;
      result.detail = "the camera cannot be used any more";
    }
    sink(result);
    results.push_back(std::move(result));
  }
  return results;
}

std::vector<Check> allChecks() {
  std::vector<Check> all;
  for (const auto group :
       {lifecycleChecks(), argumentChecks(), controlChecks(), formatChecks(), pictureChecks(),
        videoChecks(), snapshotChecks(), extraChecks(), pairChecks()}) {
    all.insert(all.end(), group.begin(), group.end());
  }
  return all;
}

}  // namespace orvik::ctl::selftest
