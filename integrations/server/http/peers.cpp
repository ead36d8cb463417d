// SPDX-License-Identifier: MIT
#include "integrations/server/http/peers.h"

#include <iterator>

namespace orvik::server {

void Peers::add(const std::shared_ptr<Peer>& peer) {
  peer->place_ = idle_.insert(idle_.end(), peer);
  peer->isIdle_ = true;
}

void Peers::setIdle(Peer& peer, bool idle) {
  if (peer.isIdle_ == idle) return;
  List& from = idle ? busy_ : idle_;
  List& to = idle ? idle_ : busy_;
  to.splice(to.end(), from, peer.place_);
  peer.isIdle_ = idle;
}

void Peers::remove(Peer& peer) { (peer.isIdle_ ? idle_ : busy_).erase(peer.place_); }

bool Peers::shutOldestIdle() {
  if (idle_.empty()) return false;
  const std::shared_ptr<Peer> oldest = idle_.front();
  oldest->shut();
  return true;
}

void Peers::forEach(const std::function<void(Peer&)>& function) {
  for (List* list : {&busy_, &idle_}) {
    for (auto at = list->begin(); at != list->end();) {
      // The function may take the peer out of the list.
      const std::shared_ptr<Peer> peer = *at++;
      function(*peer);
    }
  }
}

void Peers::checkAll(std::chrono::steady_clock::time_point now) {
  forEach([now](Peer& peer) { peer.check(now); });
}

void Peers::shutAll() {
  forEach([](Peer& peer) { peer.shut(); });
}

}  // namespace orvik::server
