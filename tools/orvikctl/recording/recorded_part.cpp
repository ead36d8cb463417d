// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/recorded_part.h"

#include <array>
#include <cstdio>
#include <string>
#include <utility>

#include "imaging/time_text.h"

namespace orvik::ctl {
namespace {

Json jsonOf(const RecordedPart& part) {
  Json json = {{"frames", part.course.frames()},
               {"lost", part.lost},
               {"start", imaging::utcText(part.course.first().start(), 6) + "Z"},
               {"seconds", part.course.seconds()}};
  if (const auto rate = part.course.rate()) json["framesPerSecond"] = *rate;
  if (!part.file.empty()) json["path"] = part.file.string();
  return json;
}

std::string lineOf(const RecordedPart& part, std::size_t number) {
  std::array<char, 120> text{};
  std::snprintf(text.data(), text.size(), "part %zu: %lld frames in %.2f s from %s", number,
                static_cast<long long>(part.course.frames()), part.course.seconds(),
                imaging::utcText(part.course.first().start()).c_str());
  return text.data() + (part.file.empty() ? "" : "  " + part.file.string());
}

}  // namespace

CaptureReport reportOf(const std::vector<RecordedPart>& parts,
                       std::vector<std::filesystem::path> files) {
  CaptureReport report;
  report.lost = 0;
  double measured = 0;  // s
  std::int64_t intervals = 0;
  Json list = Json::array();
  for (const RecordedPart& part : parts) {
    *report.lost += part.lost;
    report.info = part.info;
    if (part.course.frames() == 0) continue;
    report.frames += part.course.frames();
    report.seconds += part.course.seconds();
    if (part.course.rate()) {
      measured += part.course.seconds();
      intervals += part.course.frames() - 1;
    }
    list.push_back(jsonOf(part));
    report.notes.push_back(lineOf(part, list.size()));
  }
  if (measured > 0) report.rate = static_cast<double>(intervals) / measured;
  if (list.size() < 2) report.notes.clear();
  report.more["parts"] = std::move(list);
  report.files = std::move(files);
  return report;
}

}  // namespace orvik::ctl
