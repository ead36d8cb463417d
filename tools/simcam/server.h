// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "seam/usb_host.h"
#include "tools/simcam/session.h"
#include "tools/simcam/socket.h"
#include "tools/simcam/wire.h"

namespace orvik::simcam {

/// A device that may be imported, and the name that it keeps while it is plugged in.
struct Export {
  std::string busId;  ///< for example "1-1", at most 31 characters
  seam::DeviceInfo device;
};

/// Exports the devices of a host by USB/IP, to other machines or to this machine's kernel. A device
/// has one importer at a time. Any thread.
class Server {
 public:
  using ExportList = std::function<std::vector<Export>()>;
  /// Receives a line when an import begins and when it ends, from any thread.
  using Log = std::function<void(const std::string&)>;

  /// @param host must outlive the server
  /// @param exports called for each connection
  Server(seam::Host& host, Socket listener, ExportList exports, Log log,
         const SessionLimits& limits = {});
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  /// Ends all sessions.
  ~Server();

  [[nodiscard]] std::uint16_t port() const { return listener_.port(); }
  /// Ends the session of the device's importer, if it has one.
  void disconnect(std::string_view busId);
  /// The devices that are imported at present.
  [[nodiscard]] std::vector<std::string> imported();

 private:
  struct Connection {
    explicit Connection(Socket accepted) : socket(std::move(accepted)) {}
    Socket socket;
    std::string importedAs;  ///< empty until a device is imported
    bool over = false;
    std::thread thread;
  };

  void acceptAll();
  void serve(Connection& connection);
  void answerList(const Socket& socket);
  void serveImport(Connection& connection);
  /// Reserves a device for a connection. @return false if another connection has it
  bool reserve(Connection& connection, const std::string& busId);
  [[nodiscard]] std::optional<Export> find(std::string_view busId) const;
  void joinFinished();

  seam::Host& host_;
  const Socket listener_;
  const ExportList exports_;
  const Log log_;
  const SessionLimits limits_;
  std::mutex mutex_;  ///< guards connections_ and their members, except the sockets
  std::list<Connection> connections_;
  std::thread acceptor_;
};

}  // namespace orvik::simcam
