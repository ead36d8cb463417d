// SPDX-License-Identifier: MIT
#include "integrations/server/page/page_session.h"

#include <utility>

#include "integrations/server/page/messages.h"

namespace orvik::server {
namespace {

// A browser that asks faster than the camera answers.
constexpr int kMostRunning = 32;

}  // namespace

PageSession::PageSession(std::shared_ptr<PageCamera> camera, std::shared_ptr<CaptureFolder> folder,
                         std::shared_ptr<WebSocket> socket, std::string name,
                         OnDiskThread onDiskThread)
    : camera_(std::move(camera)),
      folder_(std::move(folder)),
      socket_(std::move(socket)),
      shown_(std::make_shared<PageViewer>(socket_)),
      name_(std::move(name)),
      onDiskThread_(std::move(onDiskThread)) {}

std::shared_ptr<PageSession> PageSession::begin(std::shared_ptr<PageCamera> camera,
                                                std::shared_ptr<CaptureFolder> folder,
                                                std::shared_ptr<WebSocket> socket, std::string name,
                                                OnDiskThread onDiskThread) {
  auto session =
      std::make_shared<PageSession>(std::move(camera), std::move(folder), std::move(socket),
                                    std::move(name), std::move(onDiskThread));
  if (!session->camera_->join(session)) return nullptr;
  session->viewer_ = session->camera_->live().add(session->shown_);
  return session;
}

void PageSession::received(std::string_view text) {
  const command::Parsed parsed = command::parse(text);
  if (!parsed.command) {
    send(message::failed(parsed.id, parsed.fault));
    return;
  }
  if (parsed.id && *running_ >= kMostRunning) {
    send(message::failed(parsed.id, "Too many commands wait for the camera."));
    return;
  }
  std::visit([&](const auto& command) { run(parsed.id, command); }, *parsed.command);
}

void PageSession::closed() {
  for (int line = 0; line < static_cast<int>(heldLines_.size()); ++line) {
    if (std::exchange(heldLines_[static_cast<std::size_t>(line)], false)) {
      camera_->camera().releaseLine(GuideD{line});
    }
  }
  camera_->live().remove(viewer_);
  camera_->leave(*this);
}

Done PageSession::answer(Id id, std::string subject, std::string text) {
  ++*running_;
  // The camera calls it, on a thread that must not be the last one to hold the session.
  return [socket = socket_, notes = camera_->notes(), running = running_, who = name_, id,
          subject = std::move(subject), text = std::move(text)](const Outcome& outcome) {
    --*running;
    if (outcome) {
      socket->sendText(message::failed(id, outcome->message));
      return;
    }
    if (subject.empty() && !text.empty()) notes->add(who, text);
    if (!subject.empty()) notes->addSoon(who, subject, text);
    if (id) socket->sendText(message::done(*id));
  };
}

}  // namespace orvik::server
