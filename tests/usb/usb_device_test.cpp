// SPDX-License-Identifier: MIT
#include "usb/usb_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_host.h"
#include "t15c_descriptors.h"
#include "usb/device_list.h"

namespace orvik {
namespace {

using testing::Answer;
using testing::DescriptorTable;
using ::testing::ElementsAre;
using testing::FakeDevice;
using testing::FakeHost;
using testing::FakeRequest;
using ::testing::HasSubstr;

seam::DeviceInfo at(std::uint8_t bus, std::vector<std::uint8_t> ports, std::uint8_t address,
                    std::uint16_t product, std::uint16_t vendor = identity::kVendorId) {
  return {{bus, std::move(ports), address}, vendor, product};
}

DescriptorTable t15cTable() {
  return {.entries = {{0x0100, testing::t15cDevice()},
                      {0x0200, testing::t15cConfiguration()},
                      {0x0300, testing::languages()},
                      {0x0301, testing::stringDescriptor(u"Vek")},
                      {0x0302, testing::stringDescriptor(u"T15C")},
                      {0x0303, testing::stringDescriptor(u"0012ABCD")},
                      {0x0F00, testing::t15cBos()}}};
}

class UsbDevice : public ::testing::Test {
 protected:
  UsbDevice() {
    camera->info = at(2, {1}, 5, identity::PID_T15C);
    camera->control = t15cTable();
    host->plugged = {camera};
  }

  /// Plugs in another T15C, at a later location.
  std::shared_ptr<FakeDevice> plugAnother() {
    auto another = std::make_shared<FakeDevice>();
    another->info = at(2, {2}, 6, identity::PID_T15C);
    another->control = t15cTable();
    host->plugged.push_back(another);
    return another;
  }

  /// Opens the camera with a modified descriptor table. @return the output on standard error.
  std::string openRefused(const DescriptorTable& table) {
    camera->control = table;
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(device.Open(0));
    return ::testing::internal::GetCapturedStderr();
  }

  std::shared_ptr<FakeHost> host = std::make_shared<FakeHost>();
  std::shared_ptr<FakeDevice> camera = std::make_shared<FakeDevice>();
  CUsbDevice device{identity::classGuid(9), false, host};
};

TEST(DeviceList, SelectsTheClassAndOrdersByLocation) {
  const std::vector present = {at(2, {1}, 9, identity::PID_T15C),
                               at(1, {2, 1}, 4, identity::PID_T13C),
                               at(1, {2}, 7, 0x7777),
                               at(1, {10}, 1, identity::PID_T14C),
                               at(1, {2}, 3, identity::PID_T13C_C),
                               at(1, {1}, 1, identity::PID_T01C),
                               at(1, {1}, 2, identity::PID_T15C, 0x1)};
  std::vector<int> addresses;
  for (const auto& info : devicesOfClass(present, 9)) addresses.push_back(info.location.address);
  EXPECT_THAT(addresses, ElementsAre(3, 7, 4, 1, 9));
  EXPECT_EQ(devicesOfClass(present, 0).size(), 1U);
  EXPECT_TRUE(devicesOfClass(present, 1).empty());
  EXPECT_TRUE(devicesOfClass(present, -1).empty());
}

TEST_F(UsbDevice, OpensAT15c) {
  EXPECT_EQ(device.deviceCount(), 1);
  ASSERT_TRUE(device.Open(0));
  EXPECT_EQ(device.vendorId(), identity::kVendorId);
  EXPECT_EQ(device.productId(), identity::PID_T15C);
  EXPECT_EQ(device.bcdUsb(), 0x0300);
  EXPECT_EQ(device.configuration()->value, 1);
  EXPECT_EQ(device.configuration()->maxPower, 50);
  EXPECT_EQ(device.interface()->interfaceClass, 0xFF);
  EXPECT_EQ(device.languageId(), 0x0409);
  EXPECT_EQ(device.manufacturer(), u"Vek");
  EXPECT_EQ(device.product(), u"T15C");
  EXPECT_EQ(device.serialNumber(), u"0012ABCD");
  EXPECT_TRUE(device.isSuperSpeed());
  EXPECT_FALSE(device.isHighSpeed());
  EXPECT_EQ(device.usbAddress(), 5);
  EXPECT_EQ(device.location().bus, 2);
  ASSERT_TRUE(device.bos());
  EXPECT_EQ(device.bos()->capabilityCount, 2);

  EXPECT_EQ(device.endpointCount(), 2);
  ASSERT_NE(device.controlEndpoint(), nullptr);
  EXPECT_EQ(device.endpoint(0), device.controlEndpoint());
  EXPECT_EQ(device.controlEndpoint()->maxPacketBytes(), 9U);
  ASSERT_NE(device.bulkIn(), nullptr);
  EXPECT_EQ(device.endpoint(1), device.bulkIn());
  EXPECT_EQ(device.endpoint(2), nullptr);
  EXPECT_EQ(device.bulkIn()->address(), 0x81);
  EXPECT_EQ(device.bulkIn()->maxPacketBytes(), 16384U);
  EXPECT_EQ(device.bulkOut(), nullptr);
  EXPECT_TRUE(camera->claimed.empty()) << "opening must not keep others from the device";
}

TEST_F(UsbDevice, SendsNothingToDevicesOfOtherClasses) {
  camera->info.productId = identity::PID_T01C;
  EXPECT_EQ(device.deviceCount(), 0);
  EXPECT_FALSE(device.Open(0));
  EXPECT_TRUE(camera->requests.empty());
}

TEST_F(UsbDevice, CloseLeavesNoEndpoints) {
  ASSERT_TRUE(device.Open(0));
  device.Close();
  EXPECT_EQ(camera->openPorts, 0);
  EXPECT_EQ(device.endpointCount(), 0);
  EXPECT_EQ(device.bulkIn(), nullptr);
  EXPECT_EQ(device.configuration(), nullptr);
  EXPECT_FALSE(device.claim());
  EXPECT_FALSE(device.resetDevice());
  EXPECT_FALSE(device.selectAltSetting(0));
  EXPECT_EQ(device.allocateDeviceMemory(16), nullptr);
  device.Close();
}

TEST_F(UsbDevice, OpenBeyondTheCountOnlyCloses) {
  ASSERT_TRUE(device.Open(0));
  EXPECT_FALSE(device.Open(1));
  EXPECT_FALSE(device.isOpen());
  EXPECT_EQ(device.productId(), identity::PID_T15C);
  EXPECT_EQ(device.serialNumber(), u"0012ABCD");
}

TEST_F(UsbDevice, OpeningAnotherForgetsTheFirst) {
  auto second = plugAnother();
  DescriptorTable table = t15cTable();
  table.entries.erase(0x0300);
  table.entries.erase(0x0F00);
  second->control = table;
  ASSERT_TRUE(device.Open(0));
  ASSERT_TRUE(device.Open(1));
  EXPECT_EQ(camera->openPorts, 0);
  EXPECT_EQ(device.deviceNumber(), 1);
  EXPECT_EQ(device.usbAddress(), 6);
  EXPECT_EQ(device.serialNumber(), u"");
  EXPECT_EQ(device.manufacturer(), u"");
  EXPECT_EQ(device.product(), u"");
  EXPECT_EQ(device.languageId(), 0);
  EXPECT_FALSE(device.bos());
}

TEST_F(UsbDevice, ADeviceThatMayNotBeOpenedIsStillKnown) {
  camera->opens = false;
  EXPECT_FALSE(device.Open(0));
  EXPECT_FALSE(device.isOpen());
  EXPECT_EQ(device.vendorId(), identity::kVendorId);
  EXPECT_EQ(device.productId(), identity::PID_T15C);
}

TEST_F(UsbDevice, CountWrapsAt256) {
  host->plugged.assign(257, camera);
  EXPECT_EQ(device.deviceCount(), 1);
  EXPECT_FALSE(device.Open(1));
}

TEST_F(UsbDevice, Usb2HasNoBosAndNoCompanions) {
  DescriptorTable table = t15cTable();
  table.entries[0x0100][2] = 0x10;
  table.entries[0x0100][3] = 0x02;
  table.entries[0x0200] = {9, 2,    25, 0, 1, 1, 0, 0x80, 50, 9,    4,    0, 0,
                           1, 0xFF, 0,  0, 0, 7, 5, 0x81, 2,  0x00, 0x02, 0};
  camera->control = table;
  camera->speed = seam::Speed::kHigh;
  ASSERT_TRUE(device.Open(0));
  EXPECT_TRUE(device.isHighSpeed());
  EXPECT_FALSE(device.bos());
  EXPECT_EQ(device.bulkIn()->maxPacketBytes(), 512U);
  for (const FakeRequest& request : camera->requests) EXPECT_NE(request.setup.value, 0x0F00);
}

TEST_F(UsbDevice, OpensWithoutBosAndWithoutStrings) {
  DescriptorTable table = t15cTable();
  table.entries.erase(0x0F00);
  table.entries.erase(0x0300);
  camera->control = table;
  EXPECT_TRUE(device.Open(0));
  EXPECT_FALSE(device.bos());
  EXPECT_EQ(device.languageId(), 0);
  EXPECT_EQ(device.product(), u"");
}

TEST_F(UsbDevice, RefusesAMalformedConfigurationOrBos) {
  DescriptorTable table = t15cTable();
  table.entries[0x0F00][4] = 9;
  EXPECT_EQ(openRefused(table),
            "Wrong BOS Descriptor: Please correct firmware BOS descriptor table\n");
  EXPECT_FALSE(device.isOpen());
  table = t15cTable();
  table.entries[0x0200].pop_back();
  EXPECT_EQ(openRefused(table),
            "Wrong Device Configuration: Please correct firmware descriptor table\n");
  EXPECT_FALSE(device.isOpen());
  EXPECT_EQ(camera->openPorts, 0);
  EXPECT_EQ(device.productId(), identity::PID_T15C);
}

TEST_F(UsbDevice, StaysOpenWithoutAnInterface) {
  DescriptorTable table = t15cTable();
  table.entries[0x0200] = {9, 2, 9, 0, 0, 1, 0, 0x80, 50};
  EXPECT_EQ(openRefused(table), "");
  EXPECT_TRUE(device.isOpen());
  EXPECT_EQ(device.productId(), identity::PID_T15C);
  EXPECT_EQ(device.endpointCount(), 1);
  EXPECT_NE(device.controlEndpoint(), nullptr);
  EXPECT_EQ(device.bulkIn(), nullptr);
  EXPECT_FALSE(device.claim());
}

TEST_F(UsbDevice, ReadsALargeConfigurationWhole) {
  DescriptorTable table = t15cTable();
  auto& configuration = table.entries[0x0200];
  while (configuration.size() + 255 <= 65535) {
    configuration.push_back(255);
    configuration.push_back(0x24);
    configuration.resize(configuration.size() + 253);
  }
  configuration[2] = static_cast<std::uint8_t>(configuration.size());
  configuration[3] = static_cast<std::uint8_t>(configuration.size() >> 8);
  camera->control = table;
  EXPECT_TRUE(device.Open(0));
}

TEST_F(UsbDevice, GivesUpOnASilentDevice) {
  camera->control = [](const FakeRequest&) { return Answer{.delay = Answer::kNever}; };
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(device.Open(0));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4700));
  EXPECT_TRUE(device.isOpen());
  EXPECT_EQ(device.productId(), identity::PID_T15C) << "as the bus lists it";
  EXPECT_NE(device.controlEndpoint(), nullptr);
  EXPECT_EQ(camera->requests.size(), 1U) << "a device that does not answer is not asked on";
}

TEST_F(UsbDevice, LookingAtADeviceClaimsNothing) {
  ASSERT_TRUE(device.Open(0));
  for (const FakeRequest& request : camera->requests) {
    EXPECT_EQ(request.setup.requestType & 0x1FU, 0U)
        << "the kernel claims an interface for whoever sends it a request";
  }
}

TEST_F(UsbDevice, SelectsAlternateSettings) {
  DescriptorTable table = t15cTable();
  table.alternateSetting = 1;
  table.entries[0x0100][3] = 2;
  // Setting 0 has no endpoints, setting 1 has every kind of endpoint.
  table.entries[0x0200] = {
      9, 2,    0,    0, 1, 1, 0, 0x80, 50,   9, 4, 3, 0, 0, 0xFF, 0,    0, 0,  9, 4, 3,
      1, 8,    0xFF, 0, 0, 0, 7, 5,    0x01, 1, 0, 4, 1, 7, 5,    0x82, 1, 0,  4, 1, 7,
      5, 0x83, 3,    0, 2, 1, 7, 5,    0x03, 3, 0, 2, 1, 7, 5,    0x04, 2, 0,  2, 0, 7,
      5, 0x84, 2,    0, 2, 0, 7, 5,    0x85, 2, 0, 2, 0, 7, 5,    0x06, 0, 64, 0, 0};
  table.entries[0x0200][2] = static_cast<std::uint8_t>(table.entries[0x0200].size());
  camera->control = table;
  ASSERT_TRUE(device.Open(0));
  EXPECT_EQ(device.endpointCount(), 1);
  EXPECT_FALSE(device.selectAltSetting(2));
  EXPECT_EQ(device.interface()->alternateSetting, 0);

  ASSERT_TRUE(device.selectAltSetting(1));
  EXPECT_EQ(device.alternateSetting(), 1);
  EXPECT_EQ(camera->requests.back().setup.index, 3) << "the interface that was asked for";
  EXPECT_EQ(device.endpointCount(), 9);
  EXPECT_EQ(device.isocOut()->address(), 0x01);
  EXPECT_EQ(device.isocIn()->address(), 0x82);
  EXPECT_EQ(device.interruptIn()->address(), 0x83);
  EXPECT_EQ(device.interruptOut()->address(), 0x03);
  EXPECT_EQ(device.bulkOut()->address(), 0x04);
  EXPECT_EQ(device.bulkIn()->address(), 0x84) << "the first of two";
  EXPECT_EQ(device.bulkIn()->transferMode(), TransferMode::kDirect);
  EXPECT_TRUE(device.claim());
  EXPECT_THAT(camera->claimed, ElementsAre(3));

  std::vector<std::uint8_t> memory(16);
  EXPECT_EQ(device.isocIn()->beginTransfer({memory, nullptr}), nullptr);
  EXPECT_EQ(device.isocIn()->lastStatus(), seam::TransferStatus::kError);
}

TEST_F(UsbDevice, ResetsWithNothingInFlight) {
  ASSERT_TRUE(device.Open(0));
  camera->bulk = [](std::uint8_t) { return Answer{.delay = Answer::kNever}; };
  std::vector<std::uint8_t> memory(16);
  auto context = device.bulkIn()->beginTransfer({memory, nullptr});
  EXPECT_TRUE(device.resetDevice());
  EXPECT_EQ(camera->resets, 1);
  EXPECT_FALSE(context->inFlight());
}

}  // namespace
}  // namespace orvik
