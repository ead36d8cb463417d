// SPDX-License-Identifier: MIT
#include "tools/orvikctl/look/picture_view.h"

#include <algorithm>
#include <cmath>

#include "tools/orvikctl/failure.h"

namespace orvik::ctl {

using imaging::ImageSource;
using imaging::Window;

void PictureView::take(const ImageSource& image, double seconds) {
  window_ = windowOf(image);
  counts_.count(image);
  brightness_ = brightnessOf(counts_);
  table_.set(options_.isLinear ? imaging::Stretch{imaging::Stretch::Mode::kLinear}
                               : stretch_.next(counts_, seconds));
}

Picture PictureView::picture(const ImageSource& image, imaging::Size place) {
  constexpr int kFiner = 3;
  const imaging::Size finer{kFiner * place.width, kFiner * place.height};
  const imaging::RenderPlan plan = imaging::planFor(image, window_, finer, 1);
  const auto pixels = renderer_.render(image, plan, table_);
  const Picture picture{pixels, plan.size(), image.isColour()};
  const int factor = std::max(picture.size.width / std::max(place.width, 1),
                              picture.size.height / std::max(place.height, 1));
  return factor > 1 ? reducedKeepingStars(picture, factor, reduced_) : picture;
}

Picture reducedKeepingStars(const Picture& picture, int factor,
                            std::vector<std::uint8_t>& reduced) {
  constexpr int kShare = 75;  // percent of the brightest value
  const int channels = picture.isColour ? 3 : 1;
  const imaging::Size size{picture.size.width / factor, picture.size.height / factor};
  const auto rowBytes =
      static_cast<std::size_t>(picture.size.width) * static_cast<std::size_t>(channels);
  reduced.clear();
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width * channels; ++x) {
      const int left = x / channels * factor;
      int sum = 0;
      int peak = 0;
      for (int n = 0; n < factor * factor; ++n) {
        const auto row = static_cast<std::size_t>(y) * static_cast<std::size_t>(factor) +
                         static_cast<std::size_t>(n / factor);
        const int column = (left + n % factor) * channels + x % channels;
        const int value = picture.pixels[row * rowBytes + static_cast<std::size_t>(column)];
        sum += value;
        peak = std::max(peak, value);
      }
      reduced.push_back(
          static_cast<std::uint8_t>(std::max(sum / (factor * factor), peak * kShare / 100)));
    }
  }
  return {reduced, size, picture.isColour};
}

Window PictureView::windowOf(const ImageSource& image) const {
  Window window{0, 0, image.size.width, image.size.height};
  if (options_.crop) {
    const Region& crop = *options_.crop;
    const auto begin = [](int whole, int length, std::optional<int> position) {
      return position.value_or(std::max(0, (whole - length) / 2));
    };
    const auto& at = crop.position;
    window = {begin(image.size.width, crop.width, at ? std::optional(at->x) : std::nullopt),
              begin(image.size.height, crop.height, at ? std::optional(at->y) : std::nullopt),
              crop.width, crop.height};
    if (window.x + window.width > image.size.width ||
        window.y + window.height > image.size.height) {
      throw Failure(ExitCode::kUsage, "--crop reaches beyond the image, which has " +
                                          std::to_string(image.size.width) + "x" +
                                          std::to_string(image.size.height) + " pixels.");
    }
  }
  const auto shrink = [this](int& from, int& length) {
    const int less = std::max(1, static_cast<int>(std::lround(length / options_.zoom)));
    from += (length - less) / 2;
    length = less;
  };
  shrink(window.x, window.width);
  shrink(window.y, window.height);
  return window;
}

}  // namespace orvik::ctl
