// SPDX-License-Identifier: MIT
#include "tools/simcam/server.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tools/simcam/session.h"

namespace orvik::simcam {
namespace {

using namespace std::chrono_literals;

constexpr auto kDescriptorTimeout = 1000ms;
constexpr seam::SetupPacket kGetDeviceDescriptor = {
    .requestType = 0x80, .request = 6, .value = 0x0100, .index = 0};
constexpr std::size_t kDescriptorBytes = 18;
constexpr std::size_t kReleaseOffset = 12;

/// @return none when the device does not answer.
std::optional<DeviceRecord> describe(seam::Port& port, const Export& exported) {
  auto memory = std::make_shared<std::array<std::uint8_t, kDescriptorBytes>>();
  const auto transfer = port.newControlTransfer();
  if (transfer->submit(kGetDeviceDescriptor, {*memory, memory}, kDescriptorTimeout) !=
          seam::TransferStatus::kOk ||
      !transfer->wait(kDescriptorTimeout * 2) || transfer->actualBytes() != kDescriptorBytes) {
    return std::nullopt;
  }
  DeviceRecord record;
  record.busId = exported.busId;
  record.bus = exported.device.location.bus;
  record.address = exported.device.location.address;
  record.speed = port.speed();
  record.vendorId = exported.device.vendorId;
  record.productId = exported.device.productId;
  record.release =
      static_cast<std::uint16_t>(memory->at(kReleaseOffset) | memory->at(kReleaseOffset + 1) << 8U);
  return record;
}

}  // namespace

Server::Server(seam::Host& host, Socket listener, ExportList exports, Log log,
               const SessionLimits& limits)
    : host_(host),
      listener_(std::move(listener)),
      exports_(std::move(exports)),
      log_(std::move(log)),
      limits_(limits),
      acceptor_([this] { acceptAll(); }) {}

Server::~Server() {
  listener_.shutdown();
  acceptor_.join();
  {
    const std::lock_guard lock(mutex_);
    for (const Connection& connection : connections_) connection.socket.shutdown();
  }
  for (Connection& connection : connections_) connection.thread.join();
}

void Server::acceptAll() {
  while (auto accepted = listener_.accept()) {
    joinFinished();
    const std::lock_guard lock(mutex_);
    Connection& connection = connections_.emplace_back(std::move(*accepted));
    connection.thread = std::thread([this, &connection] { serve(connection); });
  }
}

void Server::joinFinished() {
  const std::lock_guard lock(mutex_);
  std::erase_if(connections_, [](Connection& connection) {
    if (connection.over) connection.thread.join();
    return connection.over;
  });
}

void Server::serve(Connection& connection) {
  std::array<std::uint8_t, kOperationBytes> bytes{};
  if (connection.socket.read(bytes)) {
    const OperationHeader header = parseOperation(bytes);
    if (header.version == kProtocolVersion) {
      switch (static_cast<Operation>(header.code)) {
        case Operation::kListDevices:
          answerList(connection.socket);
          break;
        case Operation::kImport:
          serveImport(connection);
          break;
        default:
          break;
      }
    }
  }
  connection.socket.shutdown();
  const std::lock_guard lock(mutex_);
  connection.importedAs.clear();
  connection.over = true;
}

void Server::answerList(const Socket& socket) {
  std::vector<DeviceRecord> records;
  for (const Export& exported : exports_()) {
    const auto port = host_.open(exported.device);
    const auto record = port ? describe(*port, exported) : std::nullopt;
    if (record) records.push_back(*record);
  }
  // A client that has disconnected needs no answer.
  static_cast<void>(socket.write(deviceListReply(records)));
}

void Server::serveImport(Connection& connection) {
  std::array<std::uint8_t, kBusIdBytes> bytes{};
  if (!connection.socket.read(bytes)) return;
  const std::string busId = parseBusId(bytes);

  auto status = ImportStatus::kOk;
  DeviceRecord record;
  std::unique_ptr<seam::Port> port;
  if (const auto exported = find(busId); !exported) {
    status = ImportStatus::kNotFound;
  } else if (!reserve(connection, busId)) {
    status = ImportStatus::kBusy;
  } else {
    port = host_.open(exported->device);
    const auto described =
        port && port->claimInterface(0) ? describe(*port, *exported) : std::nullopt;
    if (described) {
      record = *described;
    } else {
      status = ImportStatus::kDeviceError;
    }
  }
  if (!connection.socket.write(importReply(status, record)) || status != ImportStatus::kOk) return;

  log_(busId + " imported");
  Session(connection.socket, std::move(port), limits_).run();
  log_(busId + " given back");
}

bool Server::reserve(Connection& connection, const std::string& busId) {
  const std::lock_guard lock(mutex_);
  const bool taken = std::ranges::any_of(
      connections_, [&](const Connection& other) { return other.importedAs == busId; });
  if (!taken) connection.importedAs = busId;
  return !taken;
}

std::optional<Export> Server::find(std::string_view busId) const {
  for (Export& exported : exports_()) {
    if (exported.busId == busId) return std::move(exported);
  }
  return std::nullopt;
}

void Server::disconnect(std::string_view busId) {
  const std::lock_guard lock(mutex_);
  for (const Connection& connection : connections_) {
    if (connection.importedAs == busId) connection.socket.shutdown();
  }
}

std::vector<std::string> Server::imported() {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> names;
  for (const Connection& connection : connections_) {
    if (!connection.importedAs.empty()) names.push_back(connection.importedAs);
  }
  return names;
}

}  // namespace orvik::simcam
