// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "imaging/view/image_source.h"
#include "tools/orvikctl/capture/brightness.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/look/star_reading.h"

namespace orvik::ctl {

/// "min 12  median 40  max 255  saturated 0.01 %  12 stars, HFR 2.1".
std::string measuresText(const Brightness& brightness, const std::optional<StarReading>& stars);

/// The size and the kind of an image, and its measures: `saturated` is a part from 0 to 1, `hfr` is
/// null without stars.
Json imageJson(const imaging::ImageSource& image, const Brightness& brightness,
               const std::optional<StarReading>& stars);

}  // namespace orvik::ctl
