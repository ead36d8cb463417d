// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "seam/usb_host.h"
#include "sim/hardware/camera.h"
#include "sim/wire/bulk_pipe.h"
#include "sim/wire/descriptors.h"

namespace orvik::sim {

/// Endpoint 0: answers the requests that every USB device answers, and hands the vendor's to the
/// camera. The caller of every function holds the device's lock.
class ControlEndpoint {
 public:
  /// @param pipeEmptied called when the bulk endpoint's halt has been cleared
  ControlEndpoint(const Descriptors& descriptors, std::uint8_t bulkEndpoint, Camera& camera,
                  BulkPipe& pipe, std::function<void()> pipeEmptied)
      : descriptors_(descriptors),
        bulkEndpoint_(bulkEndpoint),
        camera_(camera),
        pipe_(pipe),
        pipeEmptied_(std::move(pipeEmptied)) {}

  /// @param data what the host sends, or room for the answer
  /// @return bytes moved, or none for a STALL.
  std::optional<std::size_t> handle(BulkPipe::Lock& lock, const seam::SetupPacket& setup,
                                    std::span<std::uint8_t> data);

  /// Clears the bulk endpoint's halt and discards what it has not sent, so that the next data
  /// begins with a frame.
  void clearBulkHalt();

 private:
  std::optional<std::size_t> answerStandard(const seam::SetupPacket& setup,
                                            std::span<std::uint8_t> data) const;
  bool commandStandard(BulkPipe::Lock& lock, const seam::SetupPacket& setup);
  bool setFeature(BulkPipe::Lock& lock, const seam::SetupPacket& setup);

  const Descriptors& descriptors_;
  std::uint8_t bulkEndpoint_;
  Camera& camera_;
  BulkPipe& pipe_;
  std::function<void()> pipeEmptied_;
};

}  // namespace orvik::sim
