// SPDX-License-Identifier: MIT
#include "tools/simcam/server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <utility>

#include "tests/simcam/usbip_client.h"
#include "tests/support/eventually.h"
#include "tools/simcam/camera_bank.h"
#include "tools/simcam/console.h"

namespace orvik::simcam {
namespace {

using testing::Bytes;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::UsbipClient;

constexpr std::uint32_t kSubmitReply = 3;
constexpr std::uint32_t kUnlinkReply = 4;
constexpr std::uint32_t kChunk = 65536;

class ServerTest : public ::testing::Test {
 protected:
  ServerTest() {
    bank.plug("T15C,pace=free,scene=grey");
    bank.plug("T15C,port=usb2");
    serve({});
  }

  void serve(const SessionLimits& limits) {
    std::string error;
    auto listener = Socket::listenOn("127.0.0.1", 0, error);
    ASSERT_TRUE(listener) << error;
    server.emplace(
        host, std::move(*listener), [this] { return bank.exports(); }, [](const std::string&) {},
        limits);
  }

  /// Waits until the server has noticed that its importers are gone.
  [[nodiscard]] bool nothingIsImported() {
    return test::eventually([this] { return server->imported().empty(); });
  }

  /// Sensor and FPGA stream 640 x 480 pixels of 8 bits, as fast as the host asks.
  static void startStream(UsbipClient& client) {
    const auto sensor = [&](std::uint16_t address, std::uint16_t value) {
      EXPECT_EQ(client.command(0xB6, address, value), 0);
    };
    const auto fpga = [&](std::uint16_t address, std::uint16_t value) {
      EXPECT_EQ(client.command(0xBD, address, value), 0);
    };
    EXPECT_EQ(client.command(0xAF, 0, 0), 0);
    constexpr std::pair<std::uint16_t, std::uint16_t> kSensor[] = {
        {0x305C, 0x20}, {0x305E, 0x20}, {0x3002, 1}, {0x3049, 0},    {0x3007, 0x40}, {0x303E, 0x80},
        {0x303F, 2},    {0x303A, 0xE0}, {0x303B, 1}, {0x3009, 0x11}, {0x3044, 0xE1}};
    constexpr std::pair<std::uint16_t, std::uint16_t> kFpga[] = {
        {2, 4},  {6, 9},     {4, 0x80}, {5, 2},     {8, 0xE0}, {9, 1},
        {10, 1}, {16, 0xF2}, {17, 1},   {19, 0x24}, {20, 1}};
    for (const auto& [address, value] : kSensor) sensor(address, value);
    for (const auto& [number, value] : kFpga) fpga(number, value);
    EXPECT_EQ(client.command(0xA9), 0);
    sensor(0x3000, 0);
    fpga(0, 0x21);
  }

  sim::SimHost host;
  CameraBank bank{host, ""};
  std::optional<Server> server;
};

TEST_F(ServerTest, ListsWhatCanBeImported) {
  UsbipClient client(server->port());
  client.sendOperation(0x0111, 0x8005);
  const Bytes head = client.receive(12);
  ASSERT_EQ(head.size(), 12U);
  EXPECT_EQ(UsbipClient::number(head, 0), 0x01110005U);
  ASSERT_EQ(UsbipClient::number(head, 8), 2U);
  for (const std::uint32_t speed : {5U, 3U}) {
    const Bytes record = client.receive(316);
    ASSERT_EQ(record.size(), 316U);
    EXPECT_EQ(UsbipClient::number(record, 296), speed);
    EXPECT_EQ(UsbipClient::number(record, 300), 0x4F561500U);
    EXPECT_EQ(Bytes(record.begin() + 312, record.end()), (Bytes{0xFF, 0, 0, 0})) << "its interface";
  }
  EXPECT_TRUE(client.hungUp());
}

TEST_F(ServerTest, LendsACameraToOneImporterAtATime) {
  UsbipClient first(server->port());
  ASSERT_EQ(first.import("1-1"), 0U);
  EXPECT_STREQ(reinterpret_cast<const char*>(&first.record[256]), "1-1");
  EXPECT_THAT(server->imported(), ElementsAre("1-1"));
  EXPECT_EQ(UsbipClient(server->port()).import("1-1"), 2U) << "busy";
  EXPECT_EQ(UsbipClient(server->port()).import("1-9"), 1U) << "no such camera";
  first.submit(1, 1, true, kChunk);
  first.close();
  EXPECT_TRUE(nothingIsImported());
  UsbipClient second(server->port());
  EXPECT_EQ(second.import("1-1"), 0U);
  server.reset();
  EXPECT_TRUE(second.hungUp()) << "the server's end is the end of its sessions";
}

TEST_F(ServerTest, LimitsWhatASessionHolds) {
  serve({.transferBytes = kChunk, .bytesInFlight = 4 * kChunk, .transfers = 6});
  /// Whether a session takes one transfer less than `count`, again after they have been unlinked,
  /// and ends with the last one.
  const auto endsAt = [&](std::uint32_t count, std::uint32_t length) {
    UsbipClient client(server->port());
    EXPECT_EQ(client.import("1-1"), 0U);
    for (std::uint32_t i = 1; i < count; ++i) client.submit(i, 1, true, length);
    for (std::uint32_t i = 1; i < count; ++i) {
      client.unlink(1000 + i, i);
      auto answer = client.reply();
      if (answer.command == kSubmitReply) answer = client.reply();
      EXPECT_EQ(answer.sequence, 1000 + i);
    }
    for (std::uint32_t i = 1; i < count; ++i) client.submit(100 + i, 1, true, length);
    EXPECT_EQ(client.ask({0xC0, 0xAD, 0, 0}, 2).size(), 2U) << "the session goes on";
    client.submit(200, 1, true, length);
    const bool ended = client.hungUp();
    client.close();
    return nothingIsImported() && ended;
  };
  EXPECT_TRUE(endsAt(5, kChunk)) << "too many bytes";
  EXPECT_TRUE(endsAt(7, 1024)) << "too many transfers";
  EXPECT_TRUE(endsAt(1, kChunk + 1)) << "too long";
}

TEST_F(ServerTest, CarriesControlTransfers) {
  UsbipClient client(server->port());
  ASSERT_EQ(client.import("1-1"), 0U);
  const Bytes descriptor = client.ask({0x80, 6, 0x0100, 0}, 64);
  ASSERT_EQ(descriptor.size(), 18U);
  EXPECT_EQ(descriptor[3], 3) << "USB 3";
  EXPECT_EQ(client.ask({0xC0, 0xAD, 0, 0}, 2), (Bytes{'V', 0x12}));
  EXPECT_EQ(client.command(0xEE), -EPIPE) << "a request that the camera does not know";
  EXPECT_EQ(client.command(0xBE, 0), 0);
  Bytes page(256, 0xA5);
  client.submit(7, 0, false, 256, {0x40, 0xC2, 0, 5}, page);
  EXPECT_EQ(client.reply().status, 0);
  EXPECT_EQ(client.ask({0xC0, 0xC3, 0, 5}, 256), page) << "written data comes back";
}

TEST_F(ServerTest, StreamsWithManyTransfersOutstanding) {
  UsbipClient client(server->port());
  ASSERT_EQ(client.import("1-1"), 0U);
  startStream(client);
  constexpr std::uint32_t kFrame = 640 * 480;
  constexpr std::uint32_t kTransfers = 40;
  Bytes stream;
  for (std::uint32_t i = 0; i < kTransfers; ++i) client.submit(i, 1, true, kChunk);
  for (std::uint32_t i = 0; i < kTransfers; ++i) {
    const auto answer = client.reply();
    ASSERT_EQ(answer.command, kSubmitReply);
    ASSERT_EQ(answer.sequence, i) << "a pipe's transfers end in their order";
    ASSERT_EQ(answer.status, 0);
    const Bytes data = client.receive(answer.moved);
    stream.insert(stream.end(), data.begin(), data.end());
  }
  ASSERT_GE(stream.size(), 2 * kFrame);
  for (std::size_t frame = 0; frame + kFrame <= stream.size(); frame += kFrame) {
    EXPECT_EQ(stream[frame] | stream[frame + 1] << 8, 0x5A7E);
    EXPECT_EQ(stream[frame + kFrame - 2] | stream[frame + kFrame - 1] << 8, 0x3CF0);
  }
}

TEST_F(ServerTest, UnlinksTransfers) {
  UsbipClient client(server->port());
  ASSERT_EQ(client.import("1-1"), 0U);
  for (std::uint32_t i = 1; i <= 3; ++i) client.submit(i, 1, true, kChunk);
  client.unlink(11, 3);  // not the oldest
  client.unlink(12, 1);
  client.unlink(13, 99);
  const auto expectUnlinked = [&](std::uint32_t sequence, std::int32_t status) {
    const auto answer = client.reply();
    EXPECT_EQ(answer.command, kUnlinkReply);
    EXPECT_EQ(answer.sequence, sequence);
    EXPECT_EQ(answer.status, status);
  };
  expectUnlinked(11, -ECONNRESET);
  // The thread that waits for the oldest may be the one that answers for it.
  auto answer = client.reply();
  if (answer.command == kSubmitReply) {
    EXPECT_EQ(answer.status, -ECONNRESET);
    answer = client.reply();
    EXPECT_EQ(answer.status, 0);
  } else {
    EXPECT_EQ(answer.status, -ECONNRESET);
  }
  EXPECT_EQ(answer.sequence, 12U);
  expectUnlinked(13, 0);
  EXPECT_EQ(client.ask({0xC0, 0xAD, 0, 0}, 2).size(), 2U) << "the rest goes on";
}

TEST_F(ServerTest, AnUnlinkedTransferIsNotAnsweredLater) {
  // First the camera sends nothing, so that the transfers that follow wait for their unlinking.
  // Then it fills transfers as fast as they come, so that completion and unlinking race.
  for (const bool streams : {false, true}) {
    UsbipClient client(server->port());
    ASSERT_EQ(client.import("1-1"), 0U);
    if (streams) startStream(client);
    for (std::uint32_t i = 1; i <= 500; ++i) {
      // Sent in groups, so that a transfer is used again as soon as it has been unlinked.
      for (std::uint32_t n = i; i % 50 == 1 && n < i + 50; ++n) {
        client.submit(n, 1, true, kChunk);
        client.unlink(10000 + n, n);
      }
      auto answer = client.reply();
      bool cancelled = true;
      if (answer.command == kSubmitReply) {
        ASSERT_EQ(answer.sequence, i);
        ASSERT_EQ(client.receive(answer.moved).size(), answer.moved);
        ASSERT_TRUE(answer.status == -ECONNRESET || (streams && answer.status == 0))
            << answer.status;
        cancelled = false;
        answer = client.reply();
      }
      ASSERT_EQ(answer.command, kUnlinkReply);
      ASSERT_EQ(answer.sequence, 10000 + i);
      ASSERT_EQ(answer.status, cancelled ? -ECONNRESET : 0);
    }
    client.close();
    ASSERT_TRUE(nothingIsImported());
  }
}

TEST_F(ServerTest, APulledCameraEndsItsSession) {
  UsbipClient idle(server->port());
  UsbipClient waiting(server->port());
  ASSERT_EQ(idle.import("1-2"), 0U);
  ASSERT_EQ(waiting.import("1-1"), 0U);
  waiting.submit(1, 1, true, kChunk);
  Console console(bank, *server);
  EXPECT_THAT(console.execute("list").text, HasSubstr("USB 3  imported"));
  EXPECT_EQ(console.execute("unplug 1-2").text, "1-2 unplugged\n");
  EXPECT_TRUE(idle.hungUp());
  EXPECT_EQ(console.execute("unplug 1-1").text, "1-1 unplugged\n");
  const auto last = waiting.reply();
  EXPECT_TRUE(last.command == 0 || last.status == -ENODEV);
  EXPECT_TRUE(waiting.hungUp());
  EXPECT_THAT(bank.exports(), IsEmpty());
  EXPECT_EQ(console.execute("plug T15C").text, "1-1 plugged\n") << "the lowest free number";
  // The session also ends when only the transfers notice that the camera is gone.
  ASSERT_TRUE(nothingIsImported());
  UsbipClient alone(server->port());
  ASSERT_EQ(alone.import("1-1"), 0U);
  alone.submit(1, 1, true, kChunk);
  EXPECT_EQ(alone.ask({0xC0, 0xAD, 0, 0}, 2).size(), 2U);
  EXPECT_TRUE(bank.unplug("1-1"));
  EXPECT_EQ(alone.reply().status, -ENODEV);
  EXPECT_TRUE(alone.hungUp());
}

TEST_F(ServerTest, NonsenseEndsTheConnectionOnly) {
  const auto hangsUpOn = [&](const Bytes& bytes, const std::string& busId) {
    UsbipClient client(server->port());
    if (!busId.empty()) {
      EXPECT_EQ(client.import(busId), 0U);
    }
    client.send(bytes);
    return client.hungUp();
  };
  EXPECT_TRUE(hangsUpOn({0x01, 0x06, 0x80, 0x05, 0, 0, 0, 0}, "")) << "another version";
  EXPECT_TRUE(hangsUpOn({0x01, 0x11, 0x12, 0x34, 0, 0, 0, 0}, "")) << "no such operation";
  EXPECT_TRUE(hangsUpOn(Bytes(48, 0xFF), "1-1")) << "no such message";
  Bytes huge(48);
  huge[3] = huge[15] = huge[19] = 1;  // bulk, to the host
  huge[24] = 0x7F;
  EXPECT_TRUE(hangsUpOn(huge, "1-2")) << "a transfer of 2 GiB";
  EXPECT_FALSE(bank.exports().empty());
  UsbipClient client(server->port());
  client.sendOperation(0x0111, 0x8005);
  EXPECT_EQ(client.receive(12).size(), 12U);
}

TEST(Console, SaysWhatItDoesNotUnderstand) {
  sim::SimHost host;
  CameraBank bank(host, "scene=moon");
  EXPECT_THAT(bank.plug("T99").refusal, HasSubstr("There is no model 'T99'"));
  EXPECT_THAT(bank.plug("T15C,scene=sun").refusal, HasSubstr("scene"));
  std::string error;
  Server server(
      host, std::move(*Socket::listenOn("127.0.0.1", 0, error)), [&] { return bank.exports(); },
      [](const std::string&) {});
  Console console(bank, server);
  EXPECT_THAT(console.execute("frobnicate").text, HasSubstr("'frobnicate' is no command"));
  EXPECT_THAT(console.execute("unplug 1-7").text, HasSubstr("no camera '1-7'"));
  EXPECT_EQ(console.execute("   ").text, "");
  EXPECT_TRUE(console.execute("quit").quit);
  EXPECT_FALSE(Socket::listenOn("127.0.0.1", server.port(), error));
  EXPECT_THAT(error, HasSubstr("in use"));
}

}  // namespace
}  // namespace orvik::simcam
