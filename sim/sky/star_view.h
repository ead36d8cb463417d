// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "sim/sky/optics.h"
#include "sim/sky/scene.h"
#include "sim/sky/star_field.h"
#include "sim/sky/star_profile.h"
#include "sim/sky/star_rows.h"

namespace orvik::sim {

/// Stars through a telescope. Each star is drawn where it stands, with its blurred profile, which
/// is cheaper than to move a picture of all stars by parts of a pixel, and exact.
class StarView final : public SkyView {
 public:
  StarView(const SensorFormat& sensor, std::uint64_t seed)
      : sensor_(sensor), seed_(seed), vignette_(sensor) {}

  void illuminate(const Area& area, const Look& look, std::span<float> flux) override;

 private:
  /// A star where the telescope shows it.
  struct PlacedStar {
    Light light;
    float x = 0;
    float y = 0;
    float reach = 0;
  };

  void placeStars(const Look& look);
  void placeFields(const Place& place);
  void addStar(const PlacedStar& star, const Area& area, const Area& part,
               std::span<float> flux) const;
  const std::vector<Star>& starsOf(const StarField& field);

  SensorFormat sensor_;
  std::uint64_t seed_;
  Vignette vignette_;
  std::map<StarField, std::vector<Star>> fields_;
  StarProfile profile_;
  double airSigma_ = 0;  ///< of the profile
  double discRadius_ = 0;
  std::optional<Look> placedFor_;
  std::vector<PlacedStar> placed_;
  StarRows rows_;
};

}  // namespace orvik::sim
