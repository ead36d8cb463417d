// SPDX-License-Identifier: MIT
#include "orvik/cameras.h"

#include <type_traits>

#include "classes/camera_impl.h"
#include "models/models.h"

namespace orvik {
namespace {

/// The base class of a model's class.
template <class Class>
using BaseOf = std::conditional_t<std::is_base_of_v<CCameraCool, Class>, CCameraCool, CCameraBase>;

/// Runs `body(sensor, link)` for a camera whose sensor is controlled by commands.
template <class Impl, class Result, class Body>
Result onSensor(Impl* impl, Result onFailure, Body body) noexcept {
  return classes::onCamera(impl, onFailure, [&](Camera& camera) {
    return body(static_cast<CommandCamera&>(camera).sensor(), camera.link());
  });
}

}  // namespace

// One class for each model of the library. This does not compile if cameras.h lacks a class, or if
// a class and its model differ in whether they are cooled.
#define ORVIK_DEFINE_CLASS(code, Family)                                                      \
  static_assert(std::is_base_of_v<CCameraCool, CCamera##code> ==                              \
                std::is_base_of_v<CooledCamera, code>);                                       \
  CCamera##code::CCamera##code(void*) noexcept : BaseOf<CCamera##code>(Impl::make<code>()) {} \
  CCamera##code::~CCamera##code() = default;

ORVIK_MODELS(ORVIK_DEFINE_CLASS)

#undef ORVIK_DEFINE_CLASS

bool CCameraT02C::issueCommand(std::uint8_t command) noexcept {
  return onSensor(impl(), false, [&](CommandSensor& sensor, VendorLink& link) {
    return sensor.issue(link, command);
  });
}

std::uint8_t CCameraT02C::getState() noexcept {
  return onSensor(impl(), std::uint8_t{0}, [](CommandSensor&, VendorLink& link) {
    return static_cast<std::uint8_t>(CommandSensor::readState(link));
  });
}

bool CCameraT02C::changeConfig() noexcept {
  return onSensor(impl(), false,
                  [](CommandSensor& sensor, VendorLink& link) { return sensor.apply(link); });
}

bool CCameraT02C::ReadVar16(std::uint16_t address, std::uint16_t* value) noexcept {
  classes::put(value, 0);
  return onSensor(impl(), false, [&](CommandSensor& sensor, VendorLink& link) {
    return value != nullptr && sensor.read(link, address, *value);
  });
}

bool CCameraT02C::WriteVar16(std::uint16_t address, std::uint16_t value) noexcept {
  return onSensor(impl(), false, [&](CommandSensor& sensor, VendorLink& link) {
    return sensor.write(link, address, value);
  });
}

int CCameraT02C::GainValue2Reg(int gain) noexcept { return CommandCamera::gainCode(gain); }

}  // namespace orvik
