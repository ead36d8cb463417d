// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#include "sim/random.h"
#include "sim/sky/object_view.h"
#include "sim/sky/optics.h"
#include "sim/sky/scenes.h"
#include "sim/sky/value_noise.h"

namespace orvik::sim {
namespace {

/// Level highlands under a high Sun: a T15C at gain 200 (20 dB) reaches half of its range in 10 ms.
constexpr float kHighlands = 75000;
constexpr float kRadius = 0.42F;  // of the disc, as a share of the sensor's height
constexpr int kCraters = 1800;
constexpr int kMaria = 9;

/// All lengths in radii of the Moon, on the disc as seen: x to the right, y down.
struct Crater {
  float x = 0;
  float y = 0;
  float z = 0;  ///< towards us
  float radius = 0;
  float rays = 0;  ///< brightness of its ejecta
};

struct Mare {
  float x = 0;
  float y = 0;
  float radius = 0;
};

struct Vector {
  float x = 0;
  float y = 0;
  float z = 0;
};

float dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

Vector unit(const Vector& v) {
  const float length = std::sqrt(dot(v, v));
  return {v.x / length, v.y / length, v.z / length};
}

float smoothStep(float low, float high, float value) {
  const float t = std::clamp((value - low) / (high - low), 0.0F, 1.0F);
  return t * t * (3 - 2 * t);
}

/// Height above the plain of a crater's bowl, rim and outer slope, at `r` radii from its middle.
float craterHeight(float r) {
  constexpr float kDepth = 0.16F;
  constexpr float kRim = 0.06F;
  if (r < 1) return (kDepth + kRim) * std::min(r * r * r * r, 1.0F) - kDepth;
  return kRim * std::max(1 - (r - 1) / 0.9F, 0.0F) * std::max(1 - (r - 1) / 0.9F, 0.0F);
}

/// What the surface is like in one place of the disc.
struct Ground {
  float height = 0;
  float albedo = 0;
};

class Moon final : public SkyObject {
 public:
  explicit Moon(std::uint64_t seed) : seed_(seed) {
    Random random(seed ^ 0x6D6F6F6EU);
    for (int n = 0; n < kCraters; ++n) craters_.push_back(drawCrater(random));
    for (int n = 0; n < kMaria; ++n) {
      maria_.push_back({static_cast<float>(random.uniform(-0.75, 0.45)),
                        static_cast<float>(random.uniform(-0.7, 0.35)),
                        static_cast<float>(random.uniform(0.10, 0.32))});
    }
  }

  void illuminate(const SensorFormat& sensor, const Area& area,
                  std::span<float> flux) const override {
    const Relief relief(*this, sensor, area);
    paint(sensor, area, flux, [&](int x, int y) { return relief.lightAt(x, y); });
  }

  [[nodiscard]] Area extent(const SensorFormat& sensor) const override {
    const auto reach = static_cast<int>(std::ceil(kRadius * static_cast<float>(sensor.height))) + 1;
    return Area{sensor.width / 2, sensor.height / 2, 1, 1}.grown(reach);
  }

  [[nodiscard]] std::vector<Light> lights(const SensorFormat& sensor,
                                          const Area& part) const override {
    const Relief relief(*this, sensor, part);
    return lightsOf(part, [&](int x, int y) { return relief.lightAt(x, y); });
  }

 private:
  /// The ground under an area of the sensor, with a margin of a pixel to take slopes from.
  class Relief {
   public:
    Relief(const Moon& moon, const SensorFormat& sensor, const Area& area);
    [[nodiscard]] Light lightAt(int x, int y) const;

   private:
    [[nodiscard]] Vector place(int x, int y) const;
    void addGround(const Moon& moon);
    void addCrater(const Crater& crater);
    [[nodiscard]] std::size_t index(int x, int y) const {
      return static_cast<std::size_t>(y - area_.y) * static_cast<std::size_t>(area_.width) +
             static_cast<std::size_t>(x - area_.x);
    }

    Area area_;
    float middleX_;
    float middleY_;
    float pixelsPerRadius_;
    std::vector<Ground> ground_;
  };

  static Crater drawCrater(Random& random) {
    // Evenly over the half of the sphere that we see; many small ones and few large.
    Crater crater;
    const double z = random.uniform();
    const double angle = random.uniform(0, 2 * std::numbers::pi);
    const double across = std::sqrt(1 - z * z);
    crater.x = static_cast<float>(across * std::cos(angle));
    crater.y = static_cast<float>(across * std::sin(angle));
    crater.z = static_cast<float>(std::max(z, 0.05));
    crater.radius =
        std::min(static_cast<float>(0.0055 * std::pow(1 - random.uniform(), -0.5)), 0.10F);
    crater.rays = random.uniform() < 0.02 ? 0.35F : 0;
    return crater;
  }

  std::uint64_t seed_;
  std::vector<Crater> craters_;
  std::vector<Mare> maria_;
};

Moon::Relief::Relief(const Moon& moon, const SensorFormat& sensor, const Area& area)
    : area_{area.x - 1, area.y - 1, area.width + 2, area.height + 2},
      middleX_(0.5F * static_cast<float>(sensor.width)),
      middleY_(0.5F * static_cast<float>(sensor.height)),
      pixelsPerRadius_(kRadius * static_cast<float>(sensor.height)),
      ground_(static_cast<std::size_t>(area_.width) * static_cast<std::size_t>(area_.height)) {
  addGround(moon);
  for (const Crater& crater : moon.craters_) addCrater(crater);
}

Vector Moon::Relief::place(int x, int y) const {
  const float dx = (static_cast<float>(x) - middleX_) / pixelsPerRadius_;
  const float dy = (static_cast<float>(y) - middleY_) / pixelsPerRadius_;
  const float square = 1 - dx * dx - dy * dy;
  return {dx, dy, square > 0 ? std::sqrt(square) : 0};
}

void Moon::Relief::addGround(const Moon& moon) {
  for (int y = area_.y; y < area_.y + area_.height; ++y) {
    for (int x = area_.x; x < area_.x + area_.width; ++x) {
      const Vector p = place(x, y);
      if (p.z == 0) continue;
      // Stretched towards the limb, where the surface turns away.
      const float stretch = 1 + 0.5F * (1 - p.z);
      const float fine = cloudNoise(p.x * 22 * stretch, p.y * 22 * stretch, moon.seed_, 5);
      const float coarse = cloudNoise(p.x * 4, p.y * 4, moon.seed_ + 100, 4);
      float sea = 0;
      for (const Mare& mare : moon.maria_) {
        const float distance = std::hypot(p.x - mare.x, p.y - mare.y) / mare.radius;
        sea = std::max(sea, 1 - smoothStep(0.7F, 1.15F, distance + 0.9F * coarse + 0.25F * fine));
      }
      Ground& ground = ground_[index(x, y)];
      ground.height = (0.006F - 0.0045F * sea) * fine;
      ground.albedo = (1 - 0.45F * sea) * (1 + 0.16F * fine + 0.10F * coarse);
    }
  }
}

void Moon::Relief::addCrater(const Crater& crater) {
  const float reach = crater.radius * (crater.rays > 0 ? 7 : 1.9F);
  const float span = reach * pixelsPerRadius_;
  const float x0 = middleX_ + crater.x * pixelsPerRadius_;
  const float y0 = middleY_ + crater.y * pixelsPerRadius_;
  const int left = std::max(static_cast<int>(x0 - span), area_.x);
  const int right = std::min(static_cast<int>(x0 + span), area_.x + area_.width - 1);
  const int top = std::max(static_cast<int>(y0 - span), area_.y);
  const int bottom = std::min(static_cast<int>(y0 + span), area_.y + area_.height - 1);
  for (int y = top; y <= bottom; ++y) {
    for (int x = left; x <= right; ++x) {
      const Vector p = place(x, y);
      if (p.z == 0) continue;
      // The distance through the sphere, so that craters near the limb look like ellipses.
      const float r = std::hypot(p.x - crater.x, p.y - crater.y, p.z - crater.z) / crater.radius;
      Ground& ground = ground_[index(x, y)];
      if (r < 1.9F) ground.height += craterHeight(r) * crater.radius;
      if (crater.rays > 0 && r < 7) {
        const float angle = std::atan2(p.y - crater.y, p.x - crater.x);
        const float streaks = 0.55F + 0.45F * std::sin(angle * 11 + crater.x * 50);
        ground.albedo *= 1 + crater.rays * streaks * (1 - r / 7);
      }
    }
  }
}

Light Moon::Relief::lightAt(int x, int y) const {
  // The Sun stands to the left and a little above; the Moon is some days past first quarter.
  static const Vector kSun = unit({-0.80F, -0.22F, 0.46F});
  const Vector p = place(x, y);
  if (p.z < 0.02F) return {};
  const float slopeX =
      (ground_[index(x + 1, y)].height - ground_[index(x - 1, y)].height) * pixelsPerRadius_ / 2;
  const float slopeY =
      (ground_[index(x, y + 1)].height - ground_[index(x, y - 1)].height) * pixelsPerRadius_ / 2;
  const Vector normal = unit({p.x - slopeX, p.y - slopeY, p.z});
  const float towardsSun = dot(normal, kSun);
  if (towardsSun <= 0) return {};
  // Law of Lommel and Seeliger: dust does not darken towards the limb as a white ball would.
  const float shade = 2 * towardsSun / (towardsSun + std::max(normal.z, 0.05F));
  // The Sun is a disc and the ground is rough: the terminator is no knife's edge.
  const float dusk = smoothStep(0, 0.12F, dot(p, kSun) + 0.03F);
  const float level = kHighlands * ground_[index(x, y)].albedo * shade * dusk;
  return {level * 1.03F, level, level * 0.94F};
}

}  // namespace

std::unique_ptr<Scene> makeMoon(std::uint64_t seed) { return std::make_unique<Moon>(seed); }

}  // namespace orvik::sim
