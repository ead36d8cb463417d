// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "seam/identity.h"
#include "seam/usb_host.h"
#include "usb/current_host.h"
#include "usb/descriptors.h"
#include "usb/endpoints.h"

namespace orvik {

class DescriptorReader;

/// A device of one interface class: finds and opens it, and reads its descriptors.
///
/// Friendly name, driver key name, and the versions of driver and bus interface are missing,
/// because Linux does not provide them; so is a window for notifications: count the devices again
/// to detect changes.
///
/// For one thread at a time; no other thread may use an endpoint while the device is opened, closed
/// or reset. Endpoint pointers are valid until Close().
class CUsbDevice {
 public:
  /// @param interfaceClass identity::classGuid(0 to 9)
  /// @param open whether to open device 0 at once
  explicit CUsbDevice(const identity::Guid& interfaceClass, bool open = false,
                      std::shared_ptr<seam::Host> host = currentHost());
  CUsbDevice(const CUsbDevice&) = delete;
  CUsbDevice& operator=(const CUsbDevice&) = delete;
  ~CUsbDevice();

  /// Counts the connected devices of the class; modulo 256.
  std::uint8_t deviceCount();

  /// All devices that the host lists, of any class and maker.
  [[nodiscard]] std::vector<seam::DeviceInfo> presentDevices() const { return host_->devices(); }

  /// Closes the open device, opens the n-th device of the class and reads its descriptors. Takes at
  /// most 3.1 s (4.7 s if the device stops answering only after that).
  ///
  /// @return true when the device has a configuration with an alternate setting 0. Otherwise:
  /// - n is not below the count: nothing else has changed;
  /// - the device could not be opened: closed, vendorId() and productId() as listed by the bus;
  /// - its descriptors are malformed: closed, the two IDs as read, a line on standard error;
  /// - it did not answer enough requests: open, with a control endpoint, and the IDs if known.
  bool Open(std::uint8_t n);
  /// Opens one device, independently of its position in the class; otherwise as above.
  /// @param device as listed by the host; after replugging it is a different device
  bool Open(const seam::DeviceInfo& device);
  [[nodiscard]] bool isOpen() const { return port_ != nullptr; }

  /// Selects the endpoints of the interface with this alternate setting. Changes nothing in the
  /// device.
  /// @return false when there is none; the selection then stays.
  bool selectAltSetting(std::uint8_t alt);

  /// The number of endpoints of the current interface, including the control endpoint; 0 when
  /// closed.
  [[nodiscard]] std::uint8_t endpointCount() const;
  /// @param slot 0 is the control endpoint
  /// @return null for slots from endpointCount() on.
  [[nodiscard]] CCyUSBEndPoint* endpoint(std::size_t slot) const;

  /// Closes the device and drops its configurations and endpoints. All other information about the
  /// device stays available. Without effect when closed.
  void Close();

  /// Aborts all transfers and resets the port of the device.
  bool resetDevice();

  /// Claims the current interface for this process; needed before data is transferred.
  /// @return false when another program has claimed it, or the device is not open.
  bool claim();

  /// Memory that bulk transfers use without a copy; while it exists the host keeps the device open.
  /// @return null when the system provides none.
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes);

  /// Null when closed.
  [[nodiscard]] CCyControlEndPoint* controlEndpoint() const { return controlEndpoint_.get(); }
  /// The first endpoint of each kind in the current interface, or null.
  [[nodiscard]] CCyIsocEndPoint* isocIn() const { return typed_.isocIn; }
  [[nodiscard]] CCyIsocEndPoint* isocOut() const { return typed_.isocOut; }
  [[nodiscard]] CCyBulkEndPoint* bulkIn() const { return typed_.bulkIn; }
  [[nodiscard]] CCyBulkEndPoint* bulkOut() const { return typed_.bulkOut; }
  [[nodiscard]] CCyInterruptEndPoint* interruptIn() const { return typed_.interruptIn; }
  [[nodiscard]] CCyInterruptEndPoint* interruptOut() const { return typed_.interruptOut; }

  [[nodiscard]] std::uint16_t vendorId() const { return device_.vendorId; }
  [[nodiscard]] std::uint16_t productId() const { return device_.productId; }
  [[nodiscard]] std::uint16_t bcdUsb() const { return device_.bcdUsb; }
  [[nodiscard]] std::uint16_t bcdDevice() const { return device_.bcdDevice; }
  [[nodiscard]] std::uint8_t deviceClass() const { return device_.deviceClass; }
  [[nodiscard]] std::uint8_t deviceSubClass() const { return device_.deviceSubClass; }
  [[nodiscard]] std::uint8_t deviceProtocol() const { return device_.deviceProtocol; }
  [[nodiscard]] std::uint8_t ep0MaxPacket() const { return device_.ep0MaxPacket; }
  [[nodiscard]] std::uint8_t configurationCount() const { return device_.configurationCount; }
  [[nodiscard]] const descriptors::Device& deviceDescriptor() const { return device_; }

  /// 0x0409 when the device supports it; otherwise 0, and there are no strings.
  [[nodiscard]] std::uint16_t languageId() const { return languageId_; }
  [[nodiscard]] const std::u16string& manufacturer() const { return manufacturer_; }
  [[nodiscard]] const std::u16string& product() const { return product_; }
  [[nodiscard]] const std::u16string& serialNumber() const { return serialNumber_; }

  [[nodiscard]] bool isHighSpeed() const { return speed_ == seam::Speed::kHigh; }
  [[nodiscard]] bool isSuperSpeed() const { return speed_ == seam::Speed::kSuper; }
  [[nodiscard]] std::uint8_t usbAddress() const { return location_.address; }
  /// The location of the device that was opened last, for messages.
  [[nodiscard]] const seam::DeviceLocation& location() const { return location_; }
  /// The position of the open device in the class.
  [[nodiscard]] std::uint8_t deviceNumber() const { return deviceNumber_; }

  /// USB 3 devices only.
  [[nodiscard]] const std::optional<descriptors::Bos>& bos() const { return bos_; }
  /// The descriptors of the first configuration and the current interface; null when there is none.
  [[nodiscard]] const descriptors::Configuration* configuration() const;
  [[nodiscard]] const descriptors::Interface* interface() const;
  /// The alternate setting that the device reported at the last selection; 0 if it did not, or has
  /// no other.
  [[nodiscard]] std::uint8_t alternateSetting() const { return alternateSetting_; }

 private:
  using Endpoints = std::vector<std::unique_ptr<CCyUSBEndPoint>>;

  struct Configuration {
    descriptors::Configuration descriptor;
    std::vector<Endpoints> endpoints;  ///< of each interface in the descriptor, without slot 0
  };

  struct TypedEndpoints {
    CCyIsocEndPoint* isocIn = nullptr;
    CCyIsocEndPoint* isocOut = nullptr;
    CCyBulkEndPoint* bulkIn = nullptr;
    CCyBulkEndPoint* bulkOut = nullptr;
    CCyInterruptEndPoint* interruptIn = nullptr;
    CCyInterruptEndPoint* interruptOut = nullptr;
  };

  std::vector<seam::DeviceInfo> countDevices();
  bool openAt(const std::vector<seam::DeviceInfo>& devices, std::size_t n);
  void forgetDevice();
  void readDevice(DescriptorReader& reader);
  void readStrings(DescriptorReader& reader);
  bool readBos(DescriptorReader& reader);
  bool readConfigurations(DescriptorReader& reader);
  bool refuse(const char* caption, const char* text);
  void addConfiguration(descriptors::Configuration descriptor);
  void assignTyped(const Endpoints& endpoints);

  const int class_;
  const std::shared_ptr<seam::Host> host_;
  std::uint8_t deviceNumber_ = 0;
  std::uint8_t deviceCount_ = 0;

  std::shared_ptr<seam::Port> port_;  ///< null when closed
  seam::DeviceLocation location_;
  seam::Speed speed_ = seam::Speed::kUnknown;
  descriptors::Device device_;
  std::uint16_t languageId_ = 0;
  std::u16string manufacturer_;
  std::u16string product_;
  std::u16string serialNumber_;
  std::optional<descriptors::Bos> bos_;

  std::vector<Configuration> configurations_;  ///< at most 2
  std::unique_ptr<CCyControlEndPoint> controlEndpoint_;
  std::optional<std::size_t> currentInterface_;  ///< in the first configuration
  std::uint8_t alternateSetting_ = 0;
  TypedEndpoints typed_;
};

}  // namespace orvik
