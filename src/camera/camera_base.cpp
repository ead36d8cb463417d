// SPDX-License-Identifier: MIT
#include "camera/camera_base.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <span>
#include <utility>

#include "algorithm/demosaic.h"
#include "camera/control_table.h"
#include "camera/current_clock.h"
#include "camera/host_balance.h"
#include "seam/identity.h"
#include "usb/current_host.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr auto kReconnectPause = 50ms;
constexpr auto kSecondTryPause = 1000ms;

/// Bytes of the largest frame: every pixel in 16 bits.
std::size_t largestFrame(const ModelRow& model) {
  return std::size_t{2} * static_cast<std::size_t>(model.maxWidth) *
         static_cast<std::size_t>(model.maxHeight);
}

/// A device object for the class that the model's devices belong to.
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
  return state;
}

}  // namespace

CCameraBase::CCameraBase(const ModelRow& model, std::shared_ptr<const FrameProtocol> protocol)
    : model_(model),
      name_(model.name),
      clock_(currentClock()),
      settingsFolder_(currentHost()->settingsFolder()),
      state_(initialState(model)),
      link_(std::make_shared<VendorLink>(newDevice(model))),
      guideLines_(*link_),
      gate_(std::make_shared<CameraGate>(*this)),
      protocol_(std::move(protocol)),
      queue_(std::make_shared<FrameQueue>(largestFrame(model))),
      arrivalFrames_(std::make_shared<FramePair>(
          FramePair{std::make_shared<PageBuffer>(largestFrame(model)),
                    std::make_shared<PageBuffer>(largestFrame(model))})),
      dark_(model.maxWidth, model.maxHeight),
      hotPixels_(model.maxWidth, model.maxHeight),
      delivery_(model_, *protocol_, *state_, *queue_, {.dark = dark_, .hotPixels = hotPixels_}) {
  CAlgorithm::RGBYUV_Init();
  AdjustDarkBuff();
  AdjustHPCTable();
}

CCameraBase::~CCameraBase() { endCapture(); }

bool CCameraBase::openDevice(int ordinal) {
  if (isOpen()) return true;
  if (abandonedWorker_) return false;
  ordinal_ = ordinal;
  CUsbDevice& device = link().device();
  const int count = device.deviceCount();
  int found = 0;
  for (int n = 0; n < count; ++n) {
    device.Open(static_cast<std::uint8_t>(n));
    if (device.vendorId() != identity::kVendorId) continue;
    const Product* product = model_.findProduct(device.productId());
    if (product == nullptr || ++found != ordinal) continue;
    // A device that another program holds stays with it.
    if (!device.claim()) break;
    if (product->name != nullptr) name_ = product->name;
    link().allowRequests();
    return true;
  }
  device.Close();
  return false;
}

bool CCameraBase::ReConnectCamera() {
  const auto lock = lockSettings();
  if (ordinal_ == 0 || state_->capturing || abandonedWorker_ || !capture_.waitForPrevious()) {
    return false;
  }
  link().beginClosing();
  guideLines_.letGo();
  link().replaceDevice(newDevice(model_));
  clock_->sleepFor(kReconnectPause);
  if (openDevice(ordinal_)) return true;
  clock_->sleepFor(kSecondTryPause);
  return openDevice(ordinal_);
}

bool CCameraBase::closeDevice() {
  const auto lock = lockSettings();
  link().beginClosing();
  guideLines_.letGo();  // first: the telescope moves while anything else takes its time
  // After a video, stopping it has kept them already.
  if (isOpen() && state_->snapshot) SaveSetting(model_.settingsKey);
  stopCapture();
  endLink();
  return true;
}

void CCameraBase::endLink() {
  onClosing();
  link().settle();
  if (abandonedWorker_) {
    link().refuseRequests();  // the device closes when the worker lets go of it
  } else {
    link().close();
  }
}

bool CCameraBase::hasCapturePlaces() const {
  return queue_->isUsable() && std::ranges::all_of(*arrivalFrames_, [](const FrameBuffer& frame) {
           return frame->size() != 0;
         });
}

// Starting and stopping hold the settings lock, so that they are safe beside a setter that restarts
// capture. The worker never waits for this lock.
bool CCameraBase::startCapture(bool snapshot) {
  const auto lock = lockSettings();
  if (!isOpen()) return false;
  if (state_->capturing) return true;
  if (abandonedWorker_ || !capture_.waitForPrevious() || !hasCapturePlaces()) return false;
  if (link_->isGone()) {
    if (snapshot) state_->exposureStatus = Orvik_EXPSTATE_FAILED;
    return false;
  }
  state_->exposureStatus = Orvik_EXPSTATE_EXPOSING;
  state_->snapshot = snapshot;
  state_->capturing = true;
  queue_->open();
  const bool started = capture_.start({.link = link_,
                                       .state = state_,
                                       .queue = queue_,
                                       .gate = gate_,
                                       .protocol = protocol_,
                                       .control = nullptr,
                                       .frames = arrivalFrames_,
                                       .autoPace = autoPaceOf(model_)},
                                      clock_);
  if (!started) {  // the caller learns of it from the flag and the status
    queue_->close();
    state_->capturing = false;
    state_->exposureStatus = Orvik_EXPSTATE_FAILED;
  }
  return true;
}

void CCameraBase::saveAfterVideo() {
  if (state_->capturing && isOpen() && !state_->snapshot) SaveSetting(model_.settingsKey);
}

bool CCameraBase::stopCapture() {
  const auto lock = lockSettings();
  const bool wasCapturing = state_->capturing;
  if (wasCapturing && !isOpen()) return false;
  saveAfterVideo();
  if (!capture_.stop()) abandonedWorker_ = true;
  if (wasCapturing) state_->exposureStatus = Orvik_EXPSTATE_NONE;
  state_->capturing = false;
  return true;
}

void CCameraBase::endCapture() {
  link().beginClosing();
  guideLines_.letGo();
  saveAfterVideo();
  if (!capture_.stop()) abandonedWorker_ = true;
  gate_->close();
  endLink();
}

bool CCameraBase::deliverImage(unsigned char* buffer, int bufferSize, std::uint32_t waitMs) {
  constexpr std::uint32_t kNoLimit = 0xFFFFFFFF;
  FrameQueue::Wait wait;
  if (waitMs != kNoLimit) wait = std::chrono::milliseconds(waitMs);
  const std::size_t size = bufferSize > 0 ? static_cast<std::size_t>(bufferSize) : 0;
  return delivery_.deliver({buffer, size}, wait);
}

void CCameraBase::readVersions() {
  std::uint8_t firmware = 0;
  GetFirmwareVer(&firmware);
  firmwareVersion_ = firmware;
  std::uint8_t major = 0;
  std::array<std::uint8_t, 4> digits{};
  GetFPGAVer(&major, digits.data());
  fpgaMajor_ = major;
  std::ranges::copy(digits, fpgaDigits_.begin());
}

int CCameraBase::GetGain(bool* automatic) {
  *automatic = state_->gainAuto;
  return state_->gain;
}

bool CCameraBase::SetGamma(int value) {
  const auto lock = lockSettings();
  state_->gamma = nextGamma(state_->gamma, value);
  delivery_.setGamma(state_->gamma);
  return true;
}

int CCameraBase::GetGamma() { return state_->gamma; }

float CCameraBase::GetTemp() {
  return state_->temperatureKept ? state_->temperature.load() : GetSensorTemp();
}

std::uint32_t CCameraBase::GetExp(bool* automatic) const {
  *automatic = state_->exposureAuto;
  return static_cast<std::uint32_t>(state_->exposureUs);
}

void CCameraBase::GetRGBBalance(int* red, int* blue, bool* automatic) const {
  *red = state_->whiteBalanceRed;
  *blue = state_->whiteBalanceBlue;
  *automatic = state_->whiteBalanceAuto;
}

void CCameraBase::SetMisc(bool flipHorizontal, bool flipVertical) {
  state_->flipHorizontal = flipHorizontal;
  state_->flipVertical = flipVertical;
}

void CCameraBase::GetMisc(bool* flipHorizontal, bool* flipVertical) const {
  *flipHorizontal = state_->flipHorizontal;
  *flipVertical = state_->flipVertical;
}

void CCameraBase::Bayer2RGB24(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                              int height) const {
  demosaic(raw, rgb, flippedPattern(model_.bayer, state_->flipHorizontal, state_->flipVertical),
           width, height, hostBalance(model_, *state_));
}

bool CCameraBase::GetMaxFPS(float* frameRate, float* dataRate) const {
  *frameRate = state_->maxFrameRate;
  *dataRate = state_->dataRate;
  return true;
}

void CCameraBase::GetCameraProperty(Orvik_CAMERA_INFO* info) const {
  const char* name = name_;
  const std::size_t nameLength = std::min(std::strlen(name), sizeof info->name - 1);
  std::memset(info->name, 0, sizeof info->name);
  std::memcpy(info->name, name, nameLength);
  info->maxHeight = model_.maxHeight;
  info->maxWidth = model_.maxWidth;
  info->colour = model_.colour ? Orvik_TRUE : Orvik_FALSE;
  info->bayer = model_.bayer;
  std::size_t bins = 0;
  while (bins < model_.bins.size() && model_.bins[bins] >= 1) {
    info->bins[bins] = int{model_.bins[bins]};
    ++bins;
  }
  if (bins < std::size(info->bins)) info->bins[bins] = 0;
  IMG_TYPE* next = info->imageTypes;
  for (const IMG_TYPE type : {Orvik_IMG_RAW8, Orvik_IMG_RGB24, Orvik_IMG_Y8, Orvik_IMG_RAW16}) {
    if (isImgTypeSupported(type)) *next++ = type;
  }
  *next = Orvik_IMG_END;
  info->pixelSizeUm = model_.pixelSizeUm;
  info->hasShutter = Orvik_FALSE;
  info->hasST4 = Orvik_TRUE;
  info->hasCooler = model_.cooled ? Orvik_TRUE : Orvik_FALSE;
  info->usb3Host = state_->usb3Host ? Orvik_TRUE : Orvik_FALSE;
  info->usb3Camera = model_.usb3 ? Orvik_TRUE : Orvik_FALSE;
}

}  // namespace orvik
