// SPDX-License-Identifier: MIT
#include "camera/camera.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <exception>
#include <span>
#include <utility>

#include "algorithm/colour_balance.h"
#include "algorithm/gamma.h"
#include "base/current_clock.h"
#include "camera/model_devices.h"
#include "controls/control_table.h"
#include "seam/identity.h"
#include "state/frame_time.h"
#include "state/image_type.h"
#include "usb/current_host.h"
#include "usb/serial_numbers.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr auto kReconnectPause = 50ms;
constexpr auto kSecondTryPause = 1000ms;

/// The image types in the order in which a camera lists them.
constexpr std::array kListedTypes = {Orvik_IMG_RAW8, Orvik_IMG_RGB24, Orvik_IMG_Y8,
                                     Orvik_IMG_RAW16};
constexpr bool listsAllTypes() {
  for (int number = 0; driverTypeOf(number); ++number) {
    if (std::ranges::find(kListedTypes, number) == kListedTypes.end()) return false;
  }
  return true;
}
static_assert(listsAllTypes());

/// A device object for the device-interface class of the model.
std::unique_ptr<CUsbDevice> newDevice(const ModelRow& model) {
  const int deviceClass = identity::classOfProduct(model.products.front().id);
  return std::make_unique<CUsbDevice>(identity::classGuid(deviceClass));
}

std::shared_ptr<CameraState> initialState(const ModelRow& model) {
  auto state = std::make_shared<CameraState>();
  state->width = model.maxWidth;
  state->height = model.maxHeight;
  state->gain = model.gain.defaultValue;
  state->exposureUs = static_cast<std::uint64_t>(model.exposureUs.defaultValue);
  state->gamma = model.gamma.defaultValue;
  state->brightness = model.brightness.defaultValue;
  state->whiteBalanceRed = model.whiteBalanceRedDefault;
  state->whiteBalanceBlue = model.whiteBalanceBlueDefault;
  state->hardwareBin = model.hardwareBinAtStart;
  state->autoMaxGain = controlRange(model, Orvik_CTL_AUTO_EXP_MAX_GAIN).defaultValue;
  state->autoMaxExposure = controlRange(model, Orvik_CTL_AUTO_EXP_MAX_EXP).defaultValue;
  return state;
}

}  // namespace

Camera::Camera(const ModelRow& model, std::shared_ptr<const FrameProtocol> protocol)
    : model_(model),
      name_(model.name),
      clock_(currentClock()),
      settingsFolder_(currentHost()->settingsFolder()),
      state_(initialState(model)),
      settingsNames_{std::string(model.settingsName)},
      link_(std::make_shared<VendorLink>(newDevice(model))),
      guideLines_(*link_),
      regulator_(model_, *state_, *this),
      regulatorAccess_(std::make_shared<RegulatorAccess>(settingsLock_, regulator_)),
      protocol_(std::move(protocol)),
      framePool_(std::make_shared<FramePool>(model.largestFrameBytes())),
      queue_(std::make_shared<FrameQueue>(framePool_)),
      dark_(model.maxWidth, model.maxHeight),
      hotPixels_(model.maxWidth, model.maxHeight),
      delivery_(model_, *protocol_, *state_, *queue_, {.dark = dark_, .hotPixels = hotPixels_}),
      capture_(queue_, framePool_) {
  followRegion();
}

// A model's destructor has called endCapture() before; onClosing() is no longer the model's here.
Camera::~Camera() {
  endWork();
  endLink();
}

bool Camera::open(int ordinal) {
  if (isOpen()) return true;
  ordinal_ = ordinal;
  const auto device = deviceOfModel(model_, link().device().presentDevices(), ordinal);
  return device && connect(*device);
}

bool Camera::open(const seam::DeviceInfo& device) {
  if (isOpen()) return device_ == device;
  ordinal_ = 0;
  return connect(device);
}

bool Camera::connect(const seam::DeviceInfo& wanted) {
  if (capture_.isLingering()) return false;
  device_ = wanted;
  CUsbDevice& device = link().device();
  device.Open(wanted);
  const Product* product = model_.findProduct(device.productId());
  // claim() fails while another program uses the device.
  if (device.vendorId() != identity::kVendorId || product == nullptr || !device.claim()) {
    device.Close();
    return false;
  }
  if (product->name != nullptr) name_ = product->name;
  link().allowRequests();
  memoryWork_.open();
  publishFormat();
  return true;
}

std::string Camera::serialNumber() const { return printable(link().device().serialNumber()); }

bool Camera::reconnect() {
  const auto lock = lockSettings();
  if (device_.vendorId == 0 || capture_.isRunning() || memoryWork_.isGoingOn() ||
      capture_.isLingering() || !capture_.waitForPrevious()) {
    return false;
  }
  link().beginClosing();
  guideLines_.letGo();
  link().replaceDevice(newDevice(model_));
  clock_->sleepFor(kReconnectPause);
  if (connectAgain()) return true;
  clock_->sleepFor(kSecondTryPause);
  return connectAgain();
}

/// A camera that was opened by ordinal is found by its ordinal, any other one by its former port.
bool Camera::connectAgain() {
  if (ordinal_ != 0) return open(ordinal_);
  const auto device = deviceAtPortOf(device_, model_, link().device().presentDevices());
  return device && connect(*device);
}

bool Camera::resetSettings() {
  const auto lock = lockSettings();
  bool done = true;
  for (int type = 0; isControlType(type); ++type) {
    const auto control = static_cast<Orvik_CONTROL_TYPE>(type);
    const bool isLeft = control == Orvik_CTL_COOLER_ON || control == Orvik_CTL_BANDWIDTH;
    if (isLeft || !model_.controls.has(control)) continue;
    const bool isBin = control == Orvik_CTL_HARDWARE_BIN;  // whose record tells another default
    const int value =
        isBin ? int{model_.hardwareBinAtStart} : controlRange(model_, control).defaultValue;
    done = setControl(type, value, false) == Orvik_OK && done;
  }
  dark_.use(false);
  return done;
}

bool Camera::close() {
  // Stop the telescope first: the rest may take a while.
  if (memoryWork_.isGoingOn()) guideLines_.letGo();
  memoryWork_.close();  // before the settings lock, which beginMemoryWork() waits for
  link().beginClosing();
  guideLines_.letGo();
  const auto lock = lockSettings();
  const auto unsaved = settingsToSave();
  capture_.stop();
  delivery_.release();
  onClosing();
  endLink();
  // A slow disk must not delay the requests that bring the camera to rest.
  if (unsaved) saveGroup(settingsNames_, *unsaved);
  return true;
}

void Camera::endLink() {
  link().settle();
  if (capture_.isLingering()) {
    link().refuseRequests();  // the device is closed when the worker releases it
  } else {
    link().close();
  }
}

// Starting and stopping hold the settings lock, so that they do not collide with a setter that
// restarts capture. The worker never waits for this lock.
bool Camera::startCapture(bool snapshot) {
  const auto lock = lockSettings();
  if (!isOpen()) return false;
  // The worker of a camera that is gone needs a moment to end.
  if (capture_.isRunning()) return !link_->isGone();
  return beginCapture(snapshot);
}

bool Camera::beginCapture(bool snapshot) {
  const FrameFormat format = state_->frameFormat();
  const bool possible = !capture_.isLingering() && capture_.waitForPrevious() && !link_->isGone() &&
                        !memoryWork_.isGoingOn();
  if (!possible) {
    capture_.startFailed(snapshot, format);
    return false;
  }
  // If the system cannot start another thread, the exposure status reports it.
  capture_.start(snapshot, format,
                 {.link = link_,
                  .state = state_,
                  .settings = regulatorAccess_,
                  .protocol = protocol_,
                  .clock = clock_,
                  .autoPace = autoPaceOf(model_),
                  .capture = nullptr,
                  .queue = nullptr,
                  .stop = nullptr,
                  .frames = nullptr});
  return true;
}

// Under the settings lock, so that no permit is given while a setter has stopped a video that it is
// about to restart.
MemoryWork::Permit Camera::beginMemoryWork() {
  const auto lock = lockSettings();
  if (capture_.isRunning() || capture_.isLingering() || !capture_.waitForPrevious()) return {};
  return memoryWork_.begin();
}

bool Camera::isVideoRunning() const {
  return capture_.isRunning() && isOpen() && !capture_.lastWasSnapshot();
}

bool Camera::stopCapture() {
  const auto lock = lockSettings();
  if (capture_.isRunning() && !isOpen()) return false;
  const bool endsVideo = isVideoRunning();
  capture_.stop();
  if (!capture_.current()) delivery_.captureEnded();
  if (endsVideo) keepSettings();
  return true;
}

void Camera::forgetCapture() {
  const auto lock = lockSettings();
  if (capture_.isRunning()) return;
  capture_.forget();
  delivery_.captureEnded();
}

void Camera::endCapture() {
  const auto unsaved = isVideoRunning() ? settingsToSave() : std::nullopt;
  endWork();
  onClosing();
  endLink();
  if (unsaved) saveGroup(settingsNames_, *unsaved);
}

void Camera::endWork() {
  link().beginClosing();
  guideLines_.letGo();
  capture_.stop();
  regulatorAccess_->close();
}

bool Camera::setFormat(int width, int height, int bin, IMAGE_TYPE type, bool rawOutput,
                       const std::function<void(const FrameFormat&)>& changed) {
  const auto lock = lockSettings();
  state_->rawOutput = rawOutput;
  const bool done = setResolution(width, height, bin, type);
  publishFormat();  // also after a failure, because the raw-output flag has changed
  if (done && changed) changed(format());
  return done;
}

void Camera::setGamma(int value) {
  const auto lock = lockSettings();
  state_->gamma = nextGamma(state_->gamma, value);
  delivery_.setGamma(state_->gamma);
}

void Camera::setFlip(bool horizontal, bool vertical) {
  state_->flipHorizontal = horizontal;
  state_->flipVertical = vertical;
}

float Camera::temperature() {
  return state_->temperatureKept ? state_->temperature.load() : readTemperature();
}

FrameFormat Camera::format() const {
  const std::lock_guard lock(formatLock_);
  return publishedFormat_;
}

void Camera::publishFormat() {
  const FrameFormat present = state_->frameFormat();
  const std::lock_guard lock(formatLock_);
  publishedFormat_ = present;
}

FrameRegion Camera::region() const {
  return state_->frameFormat().regionAt(state_->startX, state_->startY, model_.colour);
}

void Camera::followRegion() {
  const auto lock = lockSettings();
  dark_.follow(region());
  hotPixels_.follow(region());
}

std::optional<ColourValues> Camera::measureColour(const RawFrame& frame, int hostBin) {
  return mosaicColour(frame, model_.bayer, hostBin);
}

int Camera::startDarkRecording() {
  const int frames = darkFrameCount(state_->exposureUs);
  dark_.startRecording(frames);
  return frames;
}

bool Camera::deriveHotPixels() {
  const DarkFrame::Plane dark = dark_.plane();
  if (!dark) return false;
  hotPixels_.derive(dark->bytes());
  return true;
}

HotPixelSaving Camera::saveHotPixels() {
  const auto permit = beginMemoryWork();
  if (!permit) return HotPixelSaving::kFailed;
  deriveHotPixels();
  SpiFlash port = flash();
  return hotPixels_.save(port);
}

bool Camera::loadHotPixels() {
  const auto permit = beginMemoryWork();
  if (!permit) return false;
  SpiFlash port = flash();
  return hotPixels_.load(port);
}

double Camera::expectedFrameRate() const {
  constexpr double kSecondUs = 1e6;
  const int lineLength = state_->lineLength;
  const int clockKhz = state_->clockKhz;
  if (lineLength == 0 || clockKhz == 0) return 0;
  const auto exposure = static_cast<double>(state_->exposureUs);
  const double readOut = frameTimeUs(state_->rowsDelivered(), lineLength, clockKhz);
  // A sensor that times itself exposes one frame while it reads out another. If the host times the
  // exposure, one follows the other.
  return kSecondUs / (state_->longExposure ? exposure + readOut : std::max(exposure, readOut));
}

void Camera::describe(Orvik_CAMERA_INFO& info) const {
  const char* name = name_;
  const std::size_t nameLength = std::min(std::strlen(name), sizeof info.name - 1);
  std::memset(info.name, 0, sizeof info.name);
  std::memcpy(info.name, name, nameLength);
  info.maxHeight = model_.maxHeight;
  info.maxWidth = model_.maxWidth;
  info.colour = model_.colour ? Orvik_TRUE : Orvik_FALSE;
  info.bayer = model_.bayer;
  std::size_t bins = 0;
  while (bins < model_.bins.size() && model_.bins[bins] >= 1) {
    info.bins[bins] = int{model_.bins[bins]};
    ++bins;
  }
  if (bins < std::size(info.bins)) info.bins[bins] = 0;
  IMG_TYPE* next = info.imageTypes;
  for (const IMG_TYPE type : kListedTypes) {
    if (model_.imageTypes.offers(type)) *next++ = type;
  }
  *next = Orvik_IMG_END;
  info.pixelSizeUm = model_.pixelSizeUm;
  info.hasShutter = Orvik_FALSE;
  info.hasST4 = Orvik_TRUE;
  info.hasCooler = model_.cooled ? Orvik_TRUE : Orvik_FALSE;
  info.usb3Host = state_->usb3Host ? Orvik_TRUE : Orvik_FALSE;
  info.usb3Camera = model_.usb3 ? Orvik_TRUE : Orvik_FALSE;
}

}  // namespace orvik
