// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "seam/usb_host.h"
#include "sim/manual_clock.h"
#include "sim/sim_host.h"

namespace orvik::test {

using seam::TransferStatus;
using Bytes = std::vector<std::uint8_t>;

/// How long a test waits before it concludes that nothing comes.
inline constexpr std::chrono::milliseconds kQuiet{20};

/// What a T15C is programmed to, in the terms of its registers.
struct Program {
  int x = 0;
  int y = 0;
  int columns = 64;  ///< sensor pixels read out
  int rows = 48;
  int sensorBin = 1;
  int fpgaBin = 1;
  bool wide = false;
  bool fast10Bit = false;
  int gain = 0;
  int blackLevel = 0;
  int frameLines = 1000;
  int shutterLine = 0;
  int lineCycles = 292;  ///< at 18562 kHz
  std::uint8_t run = 0x21;
  bool initialised =
      true;  ///< whether the registers that a sensor needs once after power-up have been written

  [[nodiscard]] int bin() const { return sensorBin * fpgaBin; }
  [[nodiscard]] std::size_t frameBytes() const;
  [[nodiscard]] double exposureSeconds() const;
  [[nodiscard]] seam::Clock::Duration frameTime() const;
  /// How long the rows of a frame take to come.
  [[nodiscard]] seam::Clock::Duration readoutTime() const {
    return frameTime() / frameLines * (rows / bin());
  }
};

/// A transfer with memory of its own.
struct Fetch {
  std::unique_ptr<seam::BulkTransfer> transfer;
  std::shared_ptr<Bytes> memory;

  TransferStatus submit() { return transfer->submit({*memory, memory}); }
  [[nodiscard]] Bytes received() const;
};

/// A virtual camera, a T15C by default, on a host, opened, with its interface claimed.
class Bench {
 public:
  explicit Bench(const sim::CameraOptions& options = {},
                 std::shared_ptr<seam::Clock> clock = std::make_shared<ManualClock>(),
                 const char* model = "T15C");

  [[nodiscard]] sim::SimHost& host() { return *host_; }
  [[nodiscard]] seam::Port& port() { return *port_; }
  void dropPort();
  void reopen();
  [[nodiscard]] int id() const { return id_; }
  void advance(seam::Clock::Duration duration);
  /// Waits until the camera has done what is due by now. Call it after advance().
  [[nodiscard]] bool settle();

  /// Control transfers; an OUT request has no data unless given.
  TransferStatus out(std::uint8_t request, int value = 0, int index = 0, Bytes data = {});
  /// @return none unless the request was answered.
  std::optional<Bytes> in(std::uint8_t request, int value = 0, int index = 0, int length = 1);
  std::optional<Bytes> standardIn(std::uint8_t type, std::uint8_t request, int value, int index,
                                  int length);
  TransferStatus control(const seam::SetupPacket& setup, Bytes& data, std::size_t& moved);

  void sensor(int address, int value) { out(0xB6, address, value); }
  void fpga(int number, int value) { out(0xBD, number, value); }

  /// Starts the sensor's clock and writes all that camera and sensor need once after power-up.
  void initialise();
  /// Writes all registers; the camera is left halted, in standby and not streaming.
  void program(const Program& program);
  /// Lets the camera stream, the sensor work and the FPGA take frames.
  void run(std::uint8_t mode = 0x21);
  void start(const Program& program);
  void stop();

  Fetch newFetch(std::size_t bytes);
  /// Whether this many bytes come in time.
  bool sends(std::size_t bytes, std::chrono::milliseconds timeout = kQuiet);
  /// Fetches one frame as one transfer; empty when none came within five seconds.
  Bytes fetchFrame(std::size_t bytes);

 private:
  std::shared_ptr<seam::Clock> clock_;
  std::uint8_t bulkEndpoint_;
  std::unique_ptr<sim::SimHost> host_;
  int id_ = 0;
  std::unique_ptr<seam::Port> port_;
  std::unique_ptr<seam::ControlTransfer> control_;
};

/// 16-bit little-endian word `index` of a frame.
int wordOf(const Bytes& frame, std::size_t index);
/// The sequence number of a frame whose marks are right, or none.
std::optional<int> sequenceOf(const Bytes& frame);

}  // namespace orvik::test
