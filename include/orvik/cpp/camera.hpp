// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <future>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvik/cpp/controls.hpp"
#include "orvik/cpp/corrections.hpp"
#include "orvik/cpp/device.hpp"
#include "orvik/cpp/firmware.hpp"
#include "orvik/cpp/frame.hpp"

namespace orvik {
inline namespace v0 {

/// @addtogroup cpp
/// @{

/// The bin factors of a camera.
inline std::vector<int> binsOf(const Orvik_CAMERA_INFO& info) {
  return {std::begin(info.bins), std::find(std::begin(info.bins), std::end(info.bins), 0)};
}

/// The image types of a camera.
inline std::vector<IMG_TYPE> imageTypesOf(const Orvik_CAMERA_INFO& info) {
  const auto* begin = std::begin(info.imageTypes);
  return {begin, std::find(begin, std::end(info.imageTypes), Orvik_IMG_END)};
}

/// An open camera, which it closes when it is destroyed.
///
/// Opening, closing, moving and destroying cameras is for one thread at a time in a process. The
/// other functions can be called from any thread, those that deliver images from one at a time.
/// Without a `std::error_code` a function throws an Error; see OnError. A camera that is not open
/// answers #Orvik_ERROR_CAMERA_INDEX to everything.
class Camera {
 public:
  /// A camera that is not open.
  Camera() = default;
  ~Camera() { close(); }
  Camera(Camera&& other) noexcept { *this = std::move(other); }
  Camera& operator=(Camera&& other) noexcept {
    if (this == &other) return *this;
    close();
    opened_ = std::exchange(other.opened_, closed());
    info_ = other.info_;
    controls_ = std::exchange(other.controls_, {});
    return *this;
  }
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  /// Opens a camera by its serial number or port; without either, the only one that is plugged in.
  ///
  /// Fails with #Orvik_ERROR_NO_DEVICE if there is none, #Orvik_ERROR_SEVERAL_DEVICES if several
  /// are meant, #Orvik_ERROR_OPEN_FAILED also if it is open in this process, and otherwise as
  /// OrvikOpenDevice().
  static Camera open(std::string_view identity = {}, OnError onError = {}) {
    Camera camera;
    camera.openAs(std::string(identity), onError);
    return camera;
  }
  /// Stops what the camera is doing and closes it. Does nothing when it is closed.
  void close() noexcept {
    // Nothing can be done about an error: the device is closed in any case.
    if (isOpen()) OrvikCloseCamera(handle());
    opened_ = closed();
    controls_.clear();
  }

  [[nodiscard]] bool isOpen() const { return opened_->handle >= 0; }
  /// For functions of the C interface.
  [[nodiscard]] int handle() const { return opened_->handle; }
  /// How messages name the camera: "Vek T15C 0012ABCD".
  [[nodiscard]] const std::string& label() const { return opened_->label; }

  /// Its properties, as they were when it was opened.
  [[nodiscard]] const Orvik_CAMERA_INFO& info() const { return info_; }
  [[nodiscard]] std::string_view name() const { return info_.name; }
  [[nodiscard]] std::vector<int> bins() const { return binsOf(info_); }
  [[nodiscard]] std::vector<IMG_TYPE> imageTypes() const { return imageTypesOf(info_); }

  /// The controls that the camera offers, in its own order.
  [[nodiscard]] std::span<const Control> controls() const { return controls_; }
  /// One of them, or null if the camera does not offer it.
  [[nodiscard]] const Control* control(Orvik_CONTROL_TYPE type) const {
    const auto found = std::find_if(controls_.begin(), controls_.end(),
                                    [type](const Control& one) { return one.type() == type; });
    return found == controls_.end() ? nullptr : &*found;
  }
  template <typename T>
  [[nodiscard]] const Control* control(ControlName<T> name) const {
    return control(name.type);
  }

  /// Reads a control, offered or not.
  [[nodiscard]] ControlValue read(Orvik_CONTROL_TYPE type, OnError onError = {}) const {
    std::int32_t value = 0;
    Orvik_BOOL isAuto = Orvik_FALSE;
    const auto code = OrvikGetControlValue(handle(), type, &value, &isAuto);
    if (!done(
            code, [&] { return "reading " + nameOf(type); }, onError))
      return {};
    return {value, isAuto == Orvik_TRUE};
  }
  /// Sets a control; a value beyond the limits becomes the nearest limit.
  void write(Orvik_CONTROL_TYPE type, ControlValue value, OnError onError = {}) {
    const Orvik_BOOL isAuto = value.isAuto ? Orvik_TRUE : Orvik_FALSE;
    const auto code = OrvikSetControlValue(handle(), type, value.value, isAuto);
    done(
        code, [&] { return "setting " + nameOf(type); }, onError);
  }
  /// Reads a control in its own type: `camera.get(control::kExposure)`.
  template <typename T>
  [[nodiscard]] T get(ControlName<T> name, OnError onError = {}) const {
    return ControlUnit<T>::fromLibrary(read(name.type, onError).value);
  }
  /// Sets a control in its own type, and ends its automatic mode: `camera.set(control::kGain,
  /// 200)`.
  template <typename T>
  void set(ControlName<T> name, std::type_identity_t<T> value, OnError onError = {}) {
    write(name.type, {ControlUnit<T>::toLibrary(value), false}, onError);
  }
  /// Starts the automatic mode of a control from its present value.
  template <typename T>
  void setAuto(ControlName<T> name, OnError onError = {}) {
    std::error_code error;
    const ControlValue now = read(name.type, error);
    const auto what = [&] { return doing("reading " + nameOf(name.type)); };
    if (onError.succeeded(error, what)) write(name.type, {now.value, true}, onError);
  }
  /// Saves the settings now: OrvikSaveSettings().
  void saveSettings(OnError onError = {}) {
    done(OrvikSaveSettings(handle()), "saving the settings", onError);
  }
  /// Gives all controls the values of a new camera: OrvikResetSettings().
  void resetSettings(OnError onError = {}) {
    done(OrvikResetSettings(handle()), "resetting the settings", onError);
  }
  /// Deletes what is saved for this camera and its model: OrvikForgetSettings().
  void forgetSettings(OnError onError = {}) {
    done(OrvikForgetSettings(handle()), "deleting the saved settings", onError);
  }

  /// The format of the next capture.
  [[nodiscard]] ImageFormat format(OnError onError = {}) const {
    ImageFormat format;
    if (!done(OrvikGetROIFormat(handle(), &format.width, &format.height, &format.bin, &format.type),
              "reading the image format", onError) ||
        !done(OrvikGetStartPos(handle(), &format.startX, &format.startY),
              "reading the region's position", onError)) {
      return {};
    }
    return format;
  }
  /// Sets size, bin and type, and centres the region: the format's start is not used. See
  /// OrvikSetROIFormat().
  void setFormat(const ImageFormat& format, OnError onError = {}) {
    const auto what = [&] {
      return "setting " + std::to_string(format.width) + "x" + std::to_string(format.height) +
             " bin " + std::to_string(format.bin);
    };
    done(OrvikSetROIFormat(handle(), format.width, format.height, format.bin, format.type), what,
         onError);
  }
  /// Moves the region; read back where it is with format(). Pixels after binning.
  void setStart(int x, int y, OnError onError = {}) {
    const auto what = [&] {
      return "moving the region to +" + std::to_string(x) + "+" + std::to_string(y);
    };
    done(OrvikSetStartPos(handle(), x, y), what, onError);
  }
  /// The largest format with this bin: a width that is a multiple of 4, and an even height.
  [[nodiscard]] ImageFormat wholeSensor(int bin = 1, IMG_TYPE type = Orvik_IMG_RAW8) const {
    return {.width = info_.maxWidth / bin / 4 * 4,
            .height = info_.maxHeight / bin / 2 * 2,
            .bin = bin,
            .type = type};
  }
  /// How the camera reads out at present: OrvikGetReadoutInfo().
  [[nodiscard]] Orvik_READOUT_INFO readout(OnError onError = {}) const {
    Orvik_READOUT_INFO readout{};
    done(OrvikGetReadoutInfo(handle(), &readout), "asking how it reads out", onError);
    return readout;
  }

  /// @name Capture, step by step
  /// The classes Video and Snapshot (capture.hpp) do the same with less to do for the program.
  /// @{
  void startVideo(OnError onError = {}) {
    done(OrvikStartVideoCapture(handle()), "starting video", onError);
  }
  void stopVideo(OnError onError = {}) {
    done(OrvikStopVideoCapture(handle()), "stopping video", onError);
  }
  /// Waits for the next frame of the video: OrvikGetVideoData().
  ///
  /// @return false if none arrived before the timeout
  bool readFrame(std::span<std::uint8_t> buffer, std::chrono::milliseconds timeout,
                 OnError onError = {}) {
    const auto code =
        OrvikGetVideoData(handle(), buffer.data(), static_cast<std::int32_t>(buffer.size()),
                          static_cast<int>(timeout.count()));
    if (code == Orvik_ERROR_NO_FRAME && noFrameReason() == Orvik_NO_FRAME_TIMEOUT) {
      onError.succeeded(Orvik_OK, [] { return std::string(); });
      return false;
    }
    return done(code, readingText(), onError);
  }
  /// The facts about the image that was delivered last.
  [[nodiscard]] FrameInfo frameInfo(OnError onError = {}) const {
    Orvik_FRAME_INFO info{};
    done(OrvikGetFrameInfo(handle(), &info), "asking about an image", onError);
    return info;
  }
  /// Why the last call delivered no frame; #Orvik_NO_FRAME_NONE also for a closed camera.
  [[nodiscard]] Orvik_NO_FRAME_REASON noFrameReason() const {
    Orvik_NO_FRAME_REASON reason = Orvik_NO_FRAME_NONE;
    OrvikGetNoFrameReason(handle(), &reason);
    return reason;
  }
  /// Frames that the running capture has lost.
  [[nodiscard]] int droppedFrames(OnError onError = {}) const {
    int dropped = 0;
    done(OrvikGetDroppedFrames(handle(), &dropped), "reading the number of lost frames", onError);
    return dropped;
  }
  void startExposure(OnError onError = {}) {
    done(OrvikStartExposure(handle()), "starting the exposure", onError);
  }
  void stopExposure(OnError onError = {}) {
    done(OrvikStopExposure(handle()), "stopping the exposure", onError);
  }
  [[nodiscard]] Orvik_EXPOSURE_STATUS exposureStatus(OnError onError = {}) const {
    Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
    done(OrvikGetExpStatus(handle(), &status), "asking about the exposure", onError);
    return status;
  }
  /// Fetches the image of a snapshot that is ready: OrvikGetDataAfterExp(). Fails with
  /// #Orvik_ERROR_NO_FRAME if there is none.
  void fetchExposure(std::span<std::uint8_t> buffer, OnError onError = {}) {
    auto code =
        OrvikGetDataAfterExp(handle(), buffer.data(), static_cast<std::int32_t>(buffer.size()));
    if (code == Orvik_OK && noFrameReason() != Orvik_NO_FRAME_NONE) code = Orvik_ERROR_NO_FRAME;
    done(code, "fetching the image", onError);
  }
  /// @}

  /// Switches a guide line on or off. It stays on until it is switched off.
  void setGuideLine(GuideD line, bool on, OnError onError = {}) {
    done(on ? OrvikPulseGuideOn(handle(), line) : OrvikPulseGuideOff(handle(), line), "guiding",
         onError);
  }
  /// Gives a guide pulse and returns at its end, or when a stop is requested. Pulses on different
  /// lines may overlap.
  void pulse(GuideD line, std::chrono::milliseconds length, const std::stop_token& stop = {},
             OnError onError = {}) {
    const auto wanted = std::clamp<std::int64_t>(length.count(), -1, ORVIK_MAX_PULSE_MS + 1);
    const auto give = [this, line, wanted] {
      return OrvikPulseGuide(handle(), line, static_cast<int>(wanted));
    };
    if (!stop.stop_possible()) {
      done(give(), "guiding", onError);
      return;
    }
    auto pulsing = std::async(std::launch::async, give);
    // Again and again: a line that is switched off before the pulse has begun does not end it.
    while (pulsing.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready) {
      if (stop.stop_requested()) OrvikPulseGuideOff(handle(), line);
    }
    done(pulsing.get(), "guiding", onError);
  }

  /// OrvikGetCoolerStatus(); fails on a camera without a cooler.
  [[nodiscard]] Orvik_COOLER_STATUS cooler(OnError onError = {}) const {
    Orvik_COOLER_STATUS status{};
    done(OrvikGetCoolerStatus(handle(), &status), "asking about the cooler", onError);
    return status;
  }

  [[nodiscard]] DarkFrame dark() const { return DarkFrame(opened_); }
  [[nodiscard]] HotPixels hotPixels() const { return HotPixels(opened_); }
  [[nodiscard]] Firmware firmware() const { return Firmware(opened_); }

  /// The ID that the user has given the camera: OrvikGetID().
  [[nodiscard]] std::array<std::uint8_t, sizeof(Orvik_ID::id)> id(OnError onError = {}) const {
    Orvik_ID id{};
    done(OrvikGetID(handle(), &id), "reading its ID", onError);
    return std::to_array(id.id);
  }
  /// Writes an ID into the camera's flash: OrvikSetID().
  void setId(const std::array<std::uint8_t, sizeof(Orvik_ID::id)>& bytes, OnError onError = {}) {
    Orvik_ID id{};
    std::copy(bytes.begin(), bytes.end(), std::begin(id.id));
    done(OrvikSetID(handle(), id), "writing its ID", onError);
  }

  /// "reading a frame", and that the camera was unplugged if this is why there is none.
  [[nodiscard]] const char* readingText() const {
    return noFrameReason() == Orvik_NO_FRAME_UNPLUGGED ? "reading a frame: the camera was unplugged"
                                                       : "reading a frame";
  }
  /// "Vek T15C 0012ABCD: starting video", for messages.
  [[nodiscard]] std::string doing(std::string_view what) const { return opened_->doing(what); }

 private:
  static std::shared_ptr<const OpenedCamera> closed() {
    // Never destroyed: a thread may still use a camera while the program exits.
    static const auto* const none =
        new std::shared_ptr<const OpenedCamera>(new OpenedCamera{-1, "a camera that is not open"});
    return *none;
  }

  bool done(Orvik_ERROR_CODE code, const char* what, OnError onError) const {
    return onError.succeeded(code, [&] { return doing(what); });
  }
  /// @param what returns the text, which is made only for an Error
  template <typename What>
  bool done(Orvik_ERROR_CODE code, What what, OnError onError) const {
    return onError.succeeded(code, [&] { return doing(what()); });
  }
  [[nodiscard]] std::string nameOf(Orvik_CONTROL_TYPE type) const {
    const Control* one = control(type);
    return one != nullptr ? std::string(one->name()) : "control " + std::to_string(type);
  }
  void openAs(const std::string& identity, OnError onError) {
    std::string meant = identity.empty() ? "the camera" : identity;
    const auto what = [&] { return "opening " + meant; };
    const auto fail = [&](Orvik_ERROR_CODE code) { onError.succeeded(code, what); };
    std::error_code error;
    const std::vector<Device> before = devices(error);
    if (!onError.succeeded(error, what)) return;
    if (identity.empty() && before.size() != 1) {
      fail(before.empty() ? Orvik_ERROR_NO_DEVICE : Orvik_ERROR_SEVERAL_DEVICES);
      return;
    }
    const std::string& name = identity.empty() ? before.front().port : identity;
    for (const Device& device : before) {
      if (device.port == name || device.identity == name) meant = device.label();
    }
    int handle = 0;
    const Orvik_ERROR_CODE code = OrvikOpenDevice(name.c_str(), &handle);
    if (code != Orvik_OK) return fail(code);
    // It is closed together with its owner, so it must have only one.
    const auto isSame = [&](const Device& device) { return device.handle == handle; };
    if (std::any_of(before.begin(), before.end(), isSame)) return fail(Orvik_ERROR_OPEN_FAILED);

    const std::vector<Device> now = devices(error);
    const auto device = std::find_if(now.begin(), now.end(), isSame);
    opened_ = std::make_shared<const OpenedCamera>(
        OpenedCamera{handle, device == now.end() ? meant : device->label()});
    if (!readProperties(onError)) close();
  }

  bool readProperties(OnError onError) {
    int count = 0;
    if (!done(OrvikGetCameraProperty(&info_, handle()), "reading its properties", onError) ||
        !done(OrvikGetNumOfControls(handle(), &count), "listing its controls", onError)) {
      return false;
    }
    for (int position = 0; position < count; ++position) {
      Orvik_CONTROL_CAPS caps{};
      const auto code = OrvikGetControlCaps(handle(), position, &caps);
      if (!done(code, "listing its controls", onError)) return false;
      controls_.emplace_back(opened_, caps);
    }
    return true;
  }

  std::shared_ptr<const OpenedCamera> opened_ = closed();
  Orvik_CAMERA_INFO info_{};
  std::vector<Control> controls_;
};

/// @}

}  // namespace v0
}  // namespace orvik
