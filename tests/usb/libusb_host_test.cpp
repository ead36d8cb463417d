// SPDX-License-Identifier: MIT
#include "usb/libusb_host.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb-1.0/libusb.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "mock_usbfs.h"
#include "seam/identity.h"
#include "support/eventually.h"
#include "support/sleeps_of.h"
#include "usb/current_host.h"

static bool libusbWorks = true;

/// Replaces libusb's own function, which it calls.
extern "C" int libusb_init(libusb_context** context) {
  if (!libusbWorks) return LIBUSB_ERROR_OTHER;
  static const auto real =
      reinterpret_cast<int (*)(libusb_context**)>(dlsym(RTLD_NEXT, "libusb_init"));
  return real(context);
}

namespace orvik {
namespace {

using seam::TransferStatus;
using std::chrono::milliseconds;
using test::eventually;
using testing::Bytes;
using ::testing::ElementsAre;
using testing::MockUsbfs;

constexpr milliseconds kLong{20000};

/// @return the number of event threads of hosts; libusb has its own thread that watches the bus.
int eventThreads() {
  int count = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::string name;
    std::ifstream(task.path() / "comm") >> name;
    if (name == "orvik-usb") ++count;
  }
  return count;
}

std::ptrdiff_t fileDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
}

class LibusbHost : public ::testing::Test {
 protected:
  void SetUp() override {
    usbfs = std::make_unique<MockUsbfs>();
    ASSERT_TRUE(umockdev_in_mock_environment()) << "run it by ctest, which preloads umockdev";
    host = makeLibusbHost();
  }

  [[nodiscard]] seam::DeviceInfo camera() const {
    return {{MockUsbfs::kBus, {1}, MockUsbfs::kAddress}, identity::kVendorId, identity::PID_T15C};
  }
  std::unique_ptr<seam::Port> open() { return host->open(camera()); }

  std::unique_ptr<MockUsbfs> usbfs;
  std::shared_ptr<seam::Host> host;
};

TEST_F(LibusbHost, ListsDevices) {
  const auto devices = host->devices();
  ASSERT_EQ(devices.size(), 2U);
  const auto& found = devices[0].productId == identity::PID_T15C ? devices[0] : devices[1];
  EXPECT_EQ(found.location, camera().location);
  EXPECT_EQ(found.vendorId, identity::kVendorId);
}

TEST_F(LibusbHost, KnowsASerialNumberWithoutOpeningTheDevice) {
  EXPECT_EQ(host->serialNumber(camera()), "0012ABCD");
  EXPECT_EQ(usbfs->count(USBDEVFS_GET_CAPABILITIES), 0);
  auto replaced = camera();
  replaced.location.address += 1;
  EXPECT_EQ(host->serialNumber(replaced), std::nullopt) << "that one is not there any more";
  replaced = camera();
  replaced.location.ports = {1, 3};
  EXPECT_EQ(host->serialNumber(replaced), std::nullopt);
}

TEST_F(LibusbHost, TellsOfAnUnplug) {
  const auto changes = host->changes();
  ASSERT_NE(changes, nullptr);
  const auto before = changes->now();
  EXPECT_FALSE(host->waitForChange(before, milliseconds(1)));
  EXPECT_TRUE(eventually([] { return eventThreads() == 0; })) << "runs only while somebody waits";
  auto waiting = std::async(std::launch::async, [&] { return host->waitForChange(before, kLong); });
  usbfs->unplug();
  EXPECT_TRUE(waiting.get());
  EXPECT_EQ(host->devices().size(), 1U);
  EXPECT_NE(host->changes()->now(), before);
}

TEST_F(LibusbHost, AnUnplugThatNobodyWaitedForIsCounted) {
  const auto before = host->changes()->now();
  usbfs->unplug();
  EXPECT_TRUE(eventually([&] { return host->changes()->now() != before; }));
}

TEST_F(LibusbHost, OpensOnlyWhatIsMeant) {
  const auto port = open();
  ASSERT_NE(port, nullptr);
  EXPECT_EQ(port->speed(), seam::Speed::kSuper);
  auto replaced = camera();
  replaced.productId = identity::PID_T14C;
  EXPECT_EQ(host->open(replaced), nullptr);
}

TEST_F(LibusbHost, MovesControlData) {
  const auto port = open();
  const auto transfer = port->newControlTransfer();
  Bytes out = {1, 2, 3};
  const seam::SetupPacket write{.requestType = 0x40, .request = 0xC2, .value = 0x102, .index = 7};
  ASSERT_EQ(transfer->submit(write, {out, nullptr}, kLong), TransferStatus::kOk);
  ASSERT_TRUE(transfer->wait(kLong));
  EXPECT_EQ(transfer->status(), TransferStatus::kOk);
  EXPECT_EQ(transfer->actualBytes(), 3U);
  EXPECT_THAT(usbfs->lastControlOut(), ElementsAre(0x40, 0xC2, 2, 1, 7, 0, 3, 0, 1, 2, 3));

  Bytes in(64, 0xEE);
  const seam::SetupPacket read{.requestType = 0x80, .request = 6, .value = 0x100};
  ASSERT_EQ(transfer->submit(read, {in, nullptr}, kLong), TransferStatus::kOk);
  ASSERT_TRUE(transfer->wait(kLong));
  ASSERT_EQ(transfer->actualBytes(), 18U);
  EXPECT_EQ(Bytes(in.begin(), in.begin() + 18), testing::t15cDevice());
  EXPECT_EQ(in[18], 0xEE);

  const seam::SetupPacket unknown{.requestType = 0xC0, .request = 0xFF};
  ASSERT_EQ(transfer->submit(unknown, {in, nullptr}, kLong), TransferStatus::kOk);
  ASSERT_TRUE(transfer->wait(kLong));
  EXPECT_EQ(transfer->status(), TransferStatus::kStalled);

  Bytes tooLong(65536);
  EXPECT_EQ(transfer->submit(write, {tooLong, nullptr}, kLong), TransferStatus::kError);
}

TEST_F(LibusbHost, AControlTransferEndsByTheHostsOwnLimit) {
  usbfs->answersControl = false;
  const auto port = open();
  const auto transfer = port->newControlTransfer();
  ASSERT_EQ(transfer->submit({.requestType = 0x40}, {}, milliseconds(50)), TransferStatus::kOk);
  EXPECT_EQ(transfer->submit({.requestType = 0x40}, {}, kLong), TransferStatus::kError)
      << "in flight once at a time";
  ASSERT_TRUE(transfer->wait(kLong));
  EXPECT_EQ(transfer->status(), TransferStatus::kTimedOut);
}

TEST_F(LibusbHost, MovesBulkDataIntoTheCallersMemory) {
  const auto port = open();
  ASSERT_TRUE(port->claimInterface(0));
  const auto transfer = port->newBulkTransfer(0x81);
  const auto memory = std::make_shared<Bytes>(1 << 20);
  for (int round = 0; round < 3; ++round) {
    memory->assign(memory->size(), 0);
    ASSERT_EQ(transfer->submit({*memory, memory}), TransferStatus::kOk);
    ASSERT_TRUE(transfer->wait(kLong));
    EXPECT_EQ(transfer->status(), TransferStatus::kOk);
    EXPECT_EQ(transfer->actualBytes(), memory->size());
    EXPECT_EQ((*memory)[300], 45);
    EXPECT_EQ(memory.use_count(), 1) << "the host lets go when the transfer has ended";
  }
  EXPECT_EQ(port->clearHalt(0x81), TransferStatus::kOk);
  EXPECT_EQ(port->reset(), TransferStatus::kOk);
  EXPECT_EQ(usbfs->count(USBDEVFS_CLEAR_HALT), 1);
}

TEST_F(LibusbHost, ReportsAnInterfaceInUse) {
  usbfs->interfaceFree = false;
  EXPECT_FALSE(open()->claimInterface(0));
}

TEST_F(LibusbHost, CancelsInFlight) {
  usbfs->answersBulk = false;
  const auto port = open();
  const auto transfer = port->newBulkTransfer(0x81);
  Bytes memory(1024);
  transfer->cancel();
  ASSERT_EQ(transfer->submit({memory, nullptr}), TransferStatus::kOk);
  EXPECT_FALSE(transfer->wait(milliseconds(10)));
  EXPECT_LT(test::sleepsOf([&] {
              for (int n = 0; n < 1000; ++n) EXPECT_FALSE(transfer->wait(milliseconds(0)));
            }),
            100)
      << "looking is not waiting";
  std::thread other([&transfer] { transfer->cancel(); });
  EXPECT_TRUE(transfer->wait(std::chrono::milliseconds::max()));
  other.join();
  EXPECT_EQ(transfer->status(), TransferStatus::kCancelled);
}

TEST_F(LibusbHost, TellsWhenTheSystemTakesNoMore) {
  const auto port = open();
  usbfs->hasMemory = false;
  const auto transfer = port->newBulkTransfer(0x81);
  const auto memory = std::make_shared<Bytes>(1024);
  EXPECT_EQ(transfer->submit({*memory, memory}), TransferStatus::kNoMemory);
  EXPECT_TRUE(transfer->wait(milliseconds(0)));
  EXPECT_EQ(memory.use_count(), 1);
  usbfs->hasMemory = true;
  EXPECT_EQ(transfer->submit({*memory, memory}), TransferStatus::kOk);
  EXPECT_TRUE(transfer->wait(kLong));
}

TEST_F(LibusbHost, AnUnpluggedDeviceEndsItsTransfers) {
  usbfs->answersBulk = false;
  const auto port = open();
  const auto transfer = port->newBulkTransfer(0x81);
  Bytes memory(1024);
  ASSERT_EQ(transfer->submit({memory, nullptr}), TransferStatus::kOk);
  usbfs->unplug();
  ASSERT_TRUE(transfer->wait(kLong));
  EXPECT_EQ(transfer->status(), TransferStatus::kNoDevice);
  EXPECT_EQ(transfer->submit({memory, nullptr}), TransferStatus::kNoDevice);
  EXPECT_EQ(port->clearHalt(0x81), TransferStatus::kNoDevice);
  EXPECT_EQ(open(), nullptr);
  EXPECT_TRUE(eventually([this] { return host->devices().size() == 1; }));
}

TEST_F(LibusbHost, OpeningAndClosingLeavesNothingBehind) {
  open().reset();
  // Some are not the host's: the mocked kernel closes its end of a connection a little later.
  const std::ptrdiff_t descriptors = fileDescriptors();
  for (int round = 0; round < 1000; ++round) {
    const auto port = open();
    ASSERT_NE(port, nullptr);
    const auto transfer = port->newControlTransfer();
    ASSERT_EQ(transfer->submit({.requestType = 0x40}, {}, kLong), TransferStatus::kOk);
    ASSERT_TRUE(transfer->wait(kLong));
  }
  EXPECT_TRUE(eventually([] { return eventThreads() == 0; }));
  EXPECT_TRUE(eventually([descriptors] { return fileDescriptors() <= descriptors; }))
      << fileDescriptors() << " against " << descriptors;
}

TEST_F(LibusbHost, ATransferDroppedInFlightOutlivesItsPort) {
  usbfs->answersBulk = false;
  usbfs->discards = false;
  const auto memory = std::make_shared<Bytes>(1024);
  {
    const auto port = open();
    for (int i = 0; i < 8; ++i) {
      ASSERT_EQ(port->newBulkTransfer(0x81)->submit({*memory, memory}), TransferStatus::kOk);
    }
  }
  EXPECT_EQ(usbfs->count(USBDEVFS_DISCARDURB), 8);
  EXPECT_EQ(memory.use_count(), 9) << "the kernel may still write into it";
  EXPECT_EQ(eventThreads(), 1);

  usbfs->returnDiscarded();
  EXPECT_TRUE(eventually([&memory] { return memory.use_count() == 1; }));
  EXPECT_TRUE(eventually([] { return eventThreads() == 0; }));

  usbfs->discards = true;
  EXPECT_NE(open(), nullptr) << "and the host works on";
}

TEST_F(LibusbHost, DroppingTheHostWaitsForDroppedTransfers) {
  usbfs->answersBulk = false;
  usbfs->discards = false;
  const auto memory = std::make_shared<Bytes>(1024);
  ASSERT_EQ(open()->newBulkTransfer(0x81)->submit({*memory, memory}), TransferStatus::kOk);
  EXPECT_EQ(memory.use_count(), 2);
  std::thread kernel([this] {
    std::this_thread::sleep_for(milliseconds(30));
    usbfs->returnDiscarded();
  });
  host.reset();
  EXPECT_EQ(memory.use_count(), 1);
  kernel.join();
  EXPECT_TRUE(eventually([] { return eventThreads() == 0; }));
}

TEST_F(LibusbHost, APortMayOutliveItsHost) {
  const auto port = open();
  host.reset();
  const auto transfer = port->newBulkTransfer(0x81);
  Bytes memory(1024);
  ASSERT_EQ(transfer->submit({memory, nullptr}), TransferStatus::kOk);
  EXPECT_TRUE(transfer->wait(kLong));
}

TEST_F(LibusbHost, IsNotUsedWhenVirtualCamerasAreRequestedInVain) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process that has not used a host yet
  const auto useCurrentHost = [this] {
    setenv("ORVIK_SIM", "T99X", 1);
    std::_Exit(host->devices().size() == 2 && currentHost()->devices().empty() ? 0 : 1);
  };
  EXPECT_EXIT(useCurrentHost(), ::testing::ExitedWithCode(0), "orvik: ORVIK_SIM: ");
}

// This test is the last one: the host that it creates stays and would see the mocked kernels of
// other tests.
TEST_F(LibusbHost, IsTriedAgainAfterAFailure) {
  libusbWorks = false;
  EXPECT_TRUE(currentHost()->devices().empty());
  libusbWorks = true;
  EXPECT_EQ(currentHost()->devices().size(), 2U);
  EXPECT_EQ(currentHost(), currentHost()) << "one for all";
}

}  // namespace
}  // namespace orvik
