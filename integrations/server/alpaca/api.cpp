// SPDX-License-Identifier: MIT
// The members of cameras. Management and setup pages are in pages.cpp.
#include "integrations/server/alpaca/api.h"

#include <optional>
#include <utility>

#include "integrations/server/alpaca/members.h"
#include "integrations/server/alpaca/route.h"

namespace orvik::server {
namespace {

/// A camera's events name who has caused them.
std::string whoSent(const Request& request, const ClientIds& ids) {
  return ids.client == 0 ? request.client : "Alpaca client " + std::to_string(ids.client);
}

/// What is checked of every request that was understood, in the standard's order.
void check(const Member& member, const CameraView& view) {
  const bool isKnown = view.description != nullptr;
  const bool isLacking = member.isOffered != nullptr && isKnown && !member.isOffered(view);
  if (member.isMissing() || isLacking) {
    throw AlpacaError(ErrorNumber::kNotImplemented,
                      "The camera does not have " + std::string(member.name) + ".");
  }
  if (member.needsConnection && (!view.isConnected || !isKnown)) {
    throw AlpacaError(ErrorNumber::kNotConnected, "The camera is not connected.");
  }
}

Response read(const Member& member, const CameraView& view, std::string_view accept,
              Transaction transaction) {
  if (member.type != Type::kImage) return valueAnswer(member.get(view), transaction);
  if (!view.image) throw AlpacaError(ErrorNumber::kInvalidOperation, "There is no image.");
  return acceptsBinaryImage(accept) ? binaryImage(view.image, transaction)
                                    : jsonImage(view.image, transaction);
}

}  // namespace

AlpacaApi::AlpacaApi(Fleet& fleet, std::string name, std::string location,
                     const GuideWiring& wiring)
    : fleet_(fleet), name_(std::move(name)), location_(std::move(location)), wiring_(wiring) {}

AlpacaApi::~AlpacaApi() {
  for (const auto& [number, camera] : cameras_) camera->release();
}

bool AlpacaApi::owns(std::string_view path) {
  const std::string_view first = path.substr(0, path.find('/', 1));
  // In any case, so that a path in the wrong one is refused as the standard has it.
  return equalInAnyCase(first, "/api") || equalInAnyCase(first, "/management") ||
         equalInAnyCase(first, "/setup");
}

std::shared_ptr<AlpacaCamera> AlpacaApi::camera(int number) {
  const std::scoped_lock lock(mutex_);
  const auto found = cameras_.find(number);
  if (found != cameras_.end()) return found->second;
  auto served = fleet_.camera(number);
  if (!served) return nullptr;
  return cameras_[number] = AlpacaCamera::make(std::move(served), wiring_);
}

void AlpacaApi::handle(const Request& request, Reply reply) {
  try {
    const std::string_view path = request.path;
    const bool isSetup = path.starts_with("/setup");
    if (path.starts_with("/api/")) {
      device(request, std::move(reply));
    } else if (isSetup) {
      reply(setup(request));
    } else {
      const ClientIds ids = clientIds(Form::parse(request.query), false);
      reply(management(request, begin(ids.transaction)));
    }
  } catch (const BadRequest& error) {
    reply(plainText(400, error.what()));
  }
}

void AlpacaApi::device(const Request& request, Reply reply) {
  std::optional<Transaction> transaction;
  std::optional<Type> type;
  try {
    const MemberPath path = memberPath(request.path);
    const Member* const member = findMember(path.member);
    if (member == nullptr) throw BadRequest("Cameras have no member of this name.");
    const bool isPut = request.method == "PUT";
    if (isPut ? !member->hasPut : request.method != "GET" || !member->hasGet) {
      throw BadRequest("This member has no " + request.method + ".");
    }
    const auto device = camera(path.number);
    if (!device) throw BadRequest("There is no camera of this number.");

    const Form form = Form::parse(isPut ? request.body : request.query);
    const ClientIds ids = clientIds(form, isPut);
    if (!isPut) {
      transaction = begin(ids.transaction);
      type = member->type;
      const CameraView view = device->view();
      check(*member, view);
      reply(read(*member, view, request.headers.get("Accept"), *transaction));
      return;
    }
    const Arguments arguments(form, member->parameters, whoSent(request, ids));
    transaction = begin(ids.transaction);
    check(*member, device->view());
    // Shared, because functions that can be copied take it. Whoever answers does so once.
    const auto later = std::make_shared<Reply>(std::move(reply));
    const auto answer = [later, ids = *transaction](const std::optional<AlpacaError>& error) {
      (*later)(error ? errorAnswer(*error, ids, std::nullopt) : doneAnswer(ids));
    };
    try {
      member->put(*device, arguments, answer);
    } catch (const AlpacaError& error) {
      answer(error);
    }
  } catch (const BadRequest& error) {
    reply(plainText(400, error.what()));
  } catch (const AlpacaError& error) {
    reply(errorAnswer(error, *transaction, type));
  }
}

}  // namespace orvik::server
