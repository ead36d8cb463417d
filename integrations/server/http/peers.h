// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>

namespace orvik::server {

/// One connection, of whatever kind. It lives as long as it is in the list of peers or waits for
/// its socket.
class Peer {
 public:
  Peer() = default;
  virtual ~Peer() = default;
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  /// Closes it at once and takes it out of the list.
  virtual void shut() = 0;
  /// Is called a few times a second, for its deadlines.
  virtual void check(std::chrono::steady_clock::time_point now) = 0;

 private:
  friend class Peers;
  std::list<std::shared_ptr<Peer>>::iterator place_;
  bool isIdle_ = false;
};

/// All connections of a server. Idle ones are those from which no whole request has come: they give
/// way when there are too many.
class Peers {
 public:
  void add(const std::shared_ptr<Peer>& peer);
  void setIdle(Peer& peer, bool idle);
  void remove(Peer& peer);

  [[nodiscard]] std::size_t count() const { return busy_.size() + idle_.size(); }
  /// Closes the connection that has been idle for longest. False if there is none.
  bool shutOldestIdle();
  void checkAll(std::chrono::steady_clock::time_point now);
  void shutAll();

 private:
  using List = std::list<std::shared_ptr<Peer>>;
  void forEach(const std::function<void(Peer&)>& function);

  List busy_;
  List idle_;  ///< the oldest first
};

}  // namespace orvik::server
