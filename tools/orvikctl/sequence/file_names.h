// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "tools/orvikctl/sequence/plan.h"

namespace orvik::ctl {

/// An image of a sequence. Its file tells whether it has been taken: this is how a sequence goes on
/// after a stop.
struct PlannedImage {
  std::size_t step = 0;  ///< index into the plan's steps
  std::filesystem::path file;
};

/// All images of a sequence in their order, with the names of their files.
///
/// In the name of the plan {object}, {telescope}, {kind}, {filter}, {exposure}, {bin}, {gain} and
/// {temperature} (of the cooler) stand for the values of the image's step; an empty one takes a
/// separator before it away. A number such as %03d counts the images whose names are the same
/// without it, from 1.
///
/// @throws imaging::NameError for an unknown placeholder, an extension that names no format, or
///         several images of one name; Failure (kUsage) for more than kMostImages
std::vector<PlannedImage> plannedImages(const SequencePlan& plan);

}  // namespace orvik::ctl
