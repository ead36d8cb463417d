// SPDX-License-Identifier: MIT
#include "integrations/gstreamer/control_properties.h"

#include <cstdint>

namespace orvik::gst {
namespace {

enum class Kind {
  kNumber,
  kSwitch,
  kFlip,
  kMode,    ///< whether the control is automatic
  kTenths,  ///< a number with one decimal place, read only
  kFact,    ///< a number, read only
};

struct Row {
  Orvik_CONTROL_TYPE control;
  Kind kind;
  const char* name;
  const char* blurb;
  int min = 0;
  int max = 1;
  int preset = 0;  ///< shown while no camera is open
};

constexpr int kUnknownTenths = -3000;

// Limits are those of the widest model; the camera takes the nearest value that it can.
constexpr std::array<Row, ControlProperties::kCount> kRows{{
    {Orvik_CTL_EXPOSURE, Kind::kNumber, "exposure-time", "Exposure time, microseconds", 1,
     2'000'000'000, 10'000},
    {Orvik_CTL_EXPOSURE, Kind::kMode, "exposure-auto", "Whether the exposure time is automatic"},
    {Orvik_CTL_GAIN, Kind::kNumber, "gain", "Gain, in the sensor's own steps", 0, 65535, 200},
    {Orvik_CTL_GAIN, Kind::kMode, "gain-auto", "Whether the gain is automatic"},
    {Orvik_CTL_AUTO_EXP_MAX_EXP, Kind::kNumber, "auto-max-exposure",
     "Longest automatic exposure, seconds", 1, 60, 30},
    {Orvik_CTL_AUTO_EXP_MAX_GAIN, Kind::kNumber, "auto-max-gain", "Highest automatic gain", 0,
     65535, 300},
    {Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS, Kind::kNumber, "auto-brightness",
     "Mean brightness that automatic exposure and gain aim at", 0, 255, 100},
    {Orvik_CTL_GAMMA, Kind::kNumber, "gamma", "Gamma; 50 is linear", 1, 100, 50},
    {Orvik_CTL_WB_R, Kind::kNumber, "white-balance-red", "White balance, red; 50 is neutral", 1, 99,
     50},
    {Orvik_CTL_WB_B, Kind::kNumber, "white-balance-blue", "White balance, blue; 50 is neutral", 1,
     99, 50},
    {Orvik_CTL_WB_R, Kind::kMode, "white-balance-auto", "Whether the white balance is automatic"},
    {Orvik_CTL_BRIGHTNESS, Kind::kNumber, "brightness", "Black level, in the sensor's own steps", 0,
     65535, 0},
    {Orvik_CTL_FLIP, Kind::kFlip, "flip", "How the image is mirrored"},
    {Orvik_CTL_BANDWIDTH, Kind::kNumber, "bandwidth",
     "Share of the USB bandwidth that the camera may use, percent", 1, 100, 50},
    {Orvik_CTL_BANDWIDTH, Kind::kMode, "bandwidth-auto",
     "Whether the bandwidth is lowered when frames are lost"},
    {Orvik_CTL_OVERCLK, Kind::kNumber, "overclock", "Percent above the normal clock", 0, 100, 0},
    {Orvik_CTL_HIGH_SPEED_MODE, Kind::kSwitch, "high-speed",
     "Whether 8-bit frames are read out faster, with fewer bits in the converter"},
    {Orvik_CTL_HARDWARE_BIN, Kind::kSwitch, "hardware-bin",
     "Whether the camera bins, instead of the computer"},
    {Orvik_CTL_COOLER_ON, Kind::kSwitch, "cooler", "Whether the temperature is regulated"},
    {Orvik_CTL_TARGET_TEMP, Kind::kNumber, "target-temperature",
     "Temperature that the cooler holds, degrees Celsius", -50, 50, 0},
    {Orvik_CTL_TEMPERATURE, Kind::kTenths, "temperature",
     "Temperature of the sensor, degrees Celsius; -300 if unknown", 0, 0, kUnknownTenths},
    {Orvik_CTL_COOL_POWER_PERC, Kind::kFact, "cooler-power", "Power of the cooler, percent", 0, 100,
     0},
}};

bool isReadOnly(const Row& row) { return row.kind == Kind::kTenths || row.kind == Kind::kFact; }

GType flipType() {
  static const GEnumValue values[] = {{0, "Not mirrored", "none"},
                                      {1, "Left and right exchanged", "horizontal"},
                                      {2, "Top and bottom exchanged", "vertical"},
                                      {3, "Both: rotated by 180 degrees", "both"},
                                      {0, nullptr, nullptr}};
  static const GType type = g_enum_register_static("OrvikSrcFlip", values);
  return type;
}

GParamSpec* describe(const Row& row) {
  int flags = G_PARAM_READABLE | G_PARAM_STATIC_STRINGS;
  if (!isReadOnly(row)) {
    flags |= G_PARAM_WRITABLE | GST_PARAM_CONTROLLABLE | GST_PARAM_MUTABLE_PLAYING;
  }
  const auto how = static_cast<GParamFlags>(flags);
  switch (row.kind) {
    case Kind::kSwitch:
    case Kind::kMode:
      return g_param_spec_boolean(row.name, row.name, row.blurb, FALSE, how);
    case Kind::kFlip:
      return g_param_spec_enum(row.name, row.name, row.blurb, flipType(), 0, how);
    case Kind::kTenths:
      return g_param_spec_double(row.name, row.name, row.blurb, row.preset / 10.0, 200,
                                 row.preset / 10.0, how);
    case Kind::kNumber:
    case Kind::kFact:
      break;
  }
  return g_param_spec_int(row.name, row.name, row.blurb, row.min, row.max, row.preset, how);
}

int numberIn(const GValue* value) {
  GValue number = G_VALUE_INIT;
  g_value_init(&number, G_TYPE_INT);
  g_value_transform(value, &number);
  return g_value_get_int(&number);
}

void putNumber(const Row& row, int number, GValue* value) {
  if (row.kind == Kind::kTenths) return g_value_set_double(value, number / 10.0);
  GValue plain = G_VALUE_INIT;
  g_value_init(&plain, G_TYPE_INT);
  g_value_set_int(&plain, number);
  g_value_transform(&plain, value);
}

}  // namespace

void ControlProperties::install(GObjectClass* type, guint first) {
  for (const Row& row : kRows) g_object_class_install_property(type, first++, describe(row));
}

std::optional<int> ControlProperties::storedMode(Orvik_CONTROL_TYPE type) const {
  // Red and blue are balanced together.
  const Orvik_CONTROL_TYPE control = type == Orvik_CTL_WB_B ? Orvik_CTL_WB_R : type;
  for (std::size_t n = 0; n < kRows.size(); ++n) {
    if (kRows[n].kind == Kind::kMode && kRows[n].control == control) return stored_[n];
  }
  return std::nullopt;
}

std::string ControlProperties::write(Camera& camera, int which) const {
  const auto place = static_cast<std::size_t>(which);
  const Row& row = kRows[place];
  const int number = stored_[place].value_or(0);
  std::error_code error;
  ControlValue value = camera.read(row.control, error);
  if (row.kind == Kind::kMode) {
    value.isAuto = number != 0;
  } else {
    value.value = number;
    // A number ends the automatic mode, unless the program wants both: it is then where that
    // starts.
    value.isAuto = storedMode(row.control).value_or(0) != 0;
  }
  if (!error) camera.write(row.control, value, error);
  return error ? camera.doing(std::string("setting ") + row.name) + ": " + error.message() : "";
}

std::string ControlProperties::set(Camera& camera, int which, const GValue* value) {
  const auto place = static_cast<std::size_t>(which);
  stored_[place] = numberIn(value);
  return camera.isOpen() ? write(camera, which) : "";
}

void ControlProperties::get(const Camera& camera, int which, GValue* value) const {
  const auto place = static_cast<std::size_t>(which);
  const Row& row = kRows[place];
  std::error_code error;
  const ControlValue now = camera.read(row.control, error);
  int number = row.kind == Kind::kMode ? (now.isAuto ? 1 : 0) : now.value;
  if (error) number = stored_[place].value_or(row.preset);
  putNumber(row, number, value);
}

std::string ControlProperties::apply(Camera& camera) const {
  std::string complaints;
  for (int which = 0; which < kCount; ++which) {
    if (!stored_[static_cast<std::size_t>(which)]) continue;
    const std::string complaint = write(camera, which);
    complaints += (complaint.empty() || complaints.empty() ? "" : "\n") + complaint;
  }
  return complaints;
}

}  // namespace orvik::gst
