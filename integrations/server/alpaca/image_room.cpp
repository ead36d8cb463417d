// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/image_room.h"

#include <condition_variable>
#include <mutex>

#include "integrations/server/alpaca/error.h"

namespace orvik::server {
namespace {

/// How long it may take to close the connections of a recalled image.
constexpr std::chrono::seconds kClosing{5};

}  // namespace

struct ImageRoom::Occupancy {
  std::mutex mutex;
  std::condition_variable_any freed;
  bool isTaken = false;
  std::stop_source recall;
};

ImageRoom::ImageRoom(std::chrono::milliseconds patience)
    : patience_(patience), occupancy_(std::make_shared<Occupancy>()) {}

std::shared_ptr<AlpacaImage> ImageRoom::make(int numX, int numY, int bytesPerSample,
                                             const std::stop_token& stop) {
  Occupancy& room = *occupancy_;
  const auto isFree = [&room] { return !room.isTaken; };
  std::unique_lock lock(room.mutex);
  if (!room.freed.wait_for(lock, stop, patience_, isFree) && !stop.stop_requested()) {
    // Without the lock: who lets go of the image calls its deleter, which takes the lock.
    const std::stop_source recall = room.recall;
    lock.unlock();
    recall.request_stop();
    lock.lock();
    if (!room.freed.wait_for(lock, stop, kClosing, isFree) && !stop.stop_requested()) {
      throw AlpacaError(ErrorNumber::kDriver,
                        "The former image is still being sent; there is no memory for another.");
    }
  }
  if (stop.stop_requested()) return nullptr;
  room.recall = std::stop_source();
  auto image = std::make_unique<AlpacaImage>();
  image->numX = numX;
  image->numY = numY;
  image->bytesPerSample = bytesPerSample;
  image->recalled = room.recall.get_token();
  image->samples = std::make_unique_for_overwrite<std::uint8_t[]>(image->bytes().size());
  room.isTaken = true;
  return {image.release(), [occupancy = occupancy_](AlpacaImage* old) {
            delete old;
            const std::scoped_lock leaving(occupancy->mutex);
            occupancy->isTaken = false;
            occupancy->freed.notify_all();
          }};
}

}  // namespace orvik::server
