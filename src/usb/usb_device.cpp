// SPDX-License-Identifier: MIT
#include "usb/usb_device.h"

#include <algorithm>
#include <cstdio>

#include "usb/descriptor_reader.h"
#include "usb/device_list.h"

namespace orvik {
namespace {

constexpr std::chrono::milliseconds kOpenBudget{2000};
constexpr std::chrono::milliseconds kSelectBudget{500};
constexpr int kMaxConfigurations = 2;

std::u16string stringAt(DescriptorReader& reader, std::uint8_t index) {
  if (index == 0) return {};
  const auto bytes = reader.readString(index, descriptors::kEnglishUs);
  if (!bytes) return {};
  return descriptors::parseString(*bytes).value_or(std::u16string());
}

template <typename EndPoint>
void assignFirst(EndPoint*& slot, CCyUSBEndPoint& endpoint) {
  if (slot == nullptr) slot = static_cast<EndPoint*>(&endpoint);
}

}  // namespace

CUsbDevice::CUsbDevice(const identity::Guid& interfaceClass, bool open,
                       std::shared_ptr<seam::Host> host)
    : class_(identity::classOf(interfaceClass)), host_(std::move(host)) {
  if (open) Open(0);
}

CUsbDevice::~CUsbDevice() { Close(); }

std::vector<seam::DeviceInfo> CUsbDevice::countDevices() {
  auto devices = devicesOfClass(host_->devices(), class_);
  deviceCount_ = static_cast<std::uint8_t>(devices.size());
  return devices;
}

std::uint8_t CUsbDevice::deviceCount() {
  countDevices();
  return deviceCount_;
}

bool CUsbDevice::Open(std::uint8_t n) {
  Close();
  const auto devices = countDevices();
  return n < deviceCount_ && openAt(devices, n);
}

bool CUsbDevice::Open(const seam::DeviceInfo& device) {
  Close();
  const auto devices = countDevices();
  const auto found = std::ranges::find(devices, device);
  return found != devices.end() &&
         openAt(devices, static_cast<std::size_t>(found - devices.begin()));
}

bool CUsbDevice::openAt(const std::vector<seam::DeviceInfo>& devices, std::size_t n) {
  forgetDevice();
  // Known without opening the device. So a camera that cannot be opened is still counted, and the
  // cameras after it keep their index.
  location_ = devices[n].location;
  device_.vendorId = devices[n].vendorId;
  device_.productId = devices[n].productId;
  port_ = host_->open(devices[n]);
  deviceNumber_ = port_ ? static_cast<std::uint8_t>(n) : 0;
  if (!port_) return false;
  speed_ = port_->speed();

  DescriptorReader reader(port_, kOpenBudget);
  readDevice(reader);
  if (!readBos(reader)) {
    return refuse("Wrong BOS Descriptor", "Please correct firmware BOS descriptor table");
  }
  if (!readConfigurations(reader)) {
    return refuse("Wrong Device Configuration", "Please correct firmware descriptor table");
  }
  controlEndpoint_ = std::make_unique<CCyControlEndPoint>(port_, device_.ep0MaxPacket);
  return selectAltSetting(0);
}

void CUsbDevice::forgetDevice() {
  location_ = {};
  speed_ = seam::Speed::kUnknown;
  device_ = {};
  languageId_ = 0;
  manufacturer_.clear();
  product_.clear();
  serialNumber_.clear();
}

void CUsbDevice::readDevice(DescriptorReader& reader) {
  const auto bytes =
      reader.read(descriptors::kTypeDevice, 0, 0, std::uint16_t{descriptors::kDeviceBytes});
  if (!bytes) return;
  const auto device = descriptors::parseDevice(*bytes);
  if (!device) return;
  device_ = *device;
  readStrings(reader);
}

void CUsbDevice::readStrings(DescriptorReader& reader) {
  const auto languages = reader.readString(0, 0);
  if (!languages || !descriptors::listsLanguage(*languages, descriptors::kEnglishUs)) return;
  languageId_ = descriptors::kEnglishUs;
  manufacturer_ = stringAt(reader, device_.manufacturerIndex);
  product_ = stringAt(reader, device_.productIndex);
  serialNumber_ = stringAt(reader, device_.serialIndex);
}

/// @return false only when a malformed BOS was received; a device need not have one.
bool CUsbDevice::readBos(DescriptorReader& reader) {
  if (device_.usbMajor() != 3) return true;
  const auto bytes = reader.readWhole(descriptors::kTypeBos, 0, descriptors::kBosHeaderBytes);
  if (!bytes) return true;
  bos_ = descriptors::parseBos(*bytes);
  return bos_.has_value();
}

/// @return false only when a malformed configuration was received.
bool CUsbDevice::readConfigurations(DescriptorReader& reader) {
  const auto companions =
      device_.usbMajor() == 2 ? descriptors::Companions::kNone : descriptors::Companions::kRequired;
  const int count = std::min<int>(device_.configurationCount, kMaxConfigurations);
  for (int i = 0; i < count; ++i) {
    const auto bytes =
        reader.readWhole(descriptors::kTypeConfiguration, static_cast<std::uint8_t>(i),
                         descriptors::kConfigurationHeaderBytes);
    if (!bytes) return true;
    auto configuration = descriptors::parseConfiguration(*bytes, companions);
    if (!configuration) return false;
    addConfiguration(std::move(*configuration));
  }
  return true;
}

bool CUsbDevice::refuse(const char* caption, const char* text) {
  std::fprintf(stderr, "%s: %s\n", caption, text);
  Close();
  return false;
}

void CUsbDevice::addConfiguration(descriptors::Configuration descriptor) {
  Configuration& added = configurations_.emplace_back();
  for (const descriptors::Interface& interface : descriptor.interfaces) {
    Endpoints& endpoints = added.endpoints.emplace_back();
    for (const descriptors::Endpoint& endpoint : interface.endpoints) {
      endpoints.push_back(makeEndpoint(port_, endpoint));
    }
  }
  added.descriptor = std::move(descriptor);
}

bool CUsbDevice::selectAltSetting(std::uint8_t alt) {
  if (configurations_.empty()) return false;
  const Configuration& first = configurations_.front();
  const auto& interfaces = first.descriptor.interfaces;
  const auto found = std::ranges::find(interfaces, alt, &descriptors::Interface::alternateSetting);
  if (found == interfaces.end()) return false;

  // With only one setting the device is not asked: for a request to an interface, the kernel claims
  // the interface for the caller, and then merely listing a camera would prevent another program
  // from using it.
  alternateSetting_ = 0;
  if (found->alternateSettingCount > 1) {
    DescriptorReader reader(port_, kSelectBudget);
    alternateSetting_ = reader.alternateSetting(found->number).value_or(0);
  }
  currentInterface_ = static_cast<std::size_t>(found - interfaces.begin());
  assignTyped(first.endpoints[*currentInterface_]);
  return true;
}

void CUsbDevice::assignTyped(const Endpoints& endpoints) {
  typed_ = {};
  for (const auto& endpoint : endpoints) {
    const bool in = endpoint->isIn();
    switch (endpoint->descriptor().type()) {
      case descriptors::EndpointType::kControl:
        continue;
      case descriptors::EndpointType::kIsochronous:
        assignFirst(in ? typed_.isocIn : typed_.isocOut, *endpoint);
        break;
      case descriptors::EndpointType::kBulk:
        assignFirst(in ? typed_.bulkIn : typed_.bulkOut, *endpoint);
        break;
      case descriptors::EndpointType::kInterrupt:
        assignFirst(in ? typed_.interruptIn : typed_.interruptOut, *endpoint);
        break;
    }
    endpoint->setTransferMode(TransferMode::kDirect);
  }
}

std::uint8_t CUsbDevice::endpointCount() const {
  if (!isOpen()) return 0;
  const std::size_t data =
      currentInterface_ ? configurations_.front().endpoints[*currentInterface_].size() : 0;
  return static_cast<std::uint8_t>(data + 1);
}

CCyUSBEndPoint* CUsbDevice::endpoint(std::size_t slot) const {
  if (slot >= endpointCount()) return nullptr;
  if (slot == 0) return controlEndpoint_.get();
  return configurations_.front().endpoints[*currentInterface_][slot - 1].get();
}

void CUsbDevice::Close() {
  typed_ = {};
  currentInterface_.reset();
  alternateSetting_ = 0;
  configurations_.clear();
  controlEndpoint_.reset();
  bos_.reset();
  port_.reset();
}

bool CUsbDevice::resetDevice() {
  if (!isOpen()) return false;
  for (std::size_t slot = 0; slot < endpointCount(); ++slot) {
    if (!endpoint(slot)->settle()) return false;
  }
  return port_->reset() == seam::TransferStatus::kOk;
}

bool CUsbDevice::claim() {
  const descriptors::Interface* current = interface();
  return current != nullptr && port_->claimInterface(current->number);
}

std::shared_ptr<std::uint8_t[]> CUsbDevice::allocateDeviceMemory(std::size_t bytes) {
  if (!isOpen()) return nullptr;
  return port_->allocateDeviceMemory(bytes);
}

const descriptors::Configuration* CUsbDevice::configuration() const {
  return configurations_.empty() ? nullptr : &configurations_.front().descriptor;
}

const descriptors::Interface* CUsbDevice::interface() const {
  if (!currentInterface_) return nullptr;
  return &configuration()->interfaces[*currentInterface_];
}

}  // namespace orvik
