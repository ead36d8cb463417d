// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

/// All registers and frame marks of the marked-frame models. Values of more than 8 bits are in
/// consecutive registers, low byte first.
namespace orvik {

/// Sensor registers, 8 bits each.
namespace sensor {
inline constexpr std::uint16_t kExposureMode = 0x0000;  ///< timed by: 0xE1 host, 0x21 sensor
inline constexpr std::uint16_t kStandby = 0x3000;       ///< 1 in standby, 0 awake
inline constexpr std::uint16_t kHold = 0x3001;          ///< see SensorHold
inline constexpr std::uint16_t kMasterStart = 0x3002;
inline constexpr std::uint16_t kConverterDepth = 0x3005;
inline constexpr std::uint16_t kMode = 0x3006;  ///< 0x22 bins 2 x 2
inline constexpr std::uint16_t kClock = 0x3009;
inline constexpr std::uint16_t kBlackLevel = 0x300A;  ///< 2 bytes
inline constexpr std::uint16_t kGain = 0x3014;        ///< 2 bytes
inline constexpr std::uint16_t kShutter = 0x3020;     ///< 3 bytes, line at which the shutter opens
inline constexpr std::uint16_t kAreaRow = 0x3038;     ///< 2 bytes
inline constexpr std::uint16_t kAreaHeight = 0x303A;  ///< 2 bytes
inline constexpr std::uint16_t kAreaColumn = 0x303C;  ///< 2 bytes
inline constexpr std::uint16_t kAreaWidth = 0x303E;   ///< 2 bytes
inline constexpr std::uint16_t kConverter = 0x3044;
inline constexpr std::uint16_t kSyncOutput = 0x3049;
}  // namespace sensor

/// FPGA registers, 8 bits each.
namespace fpga {
inline constexpr std::uint16_t kMode = 0;
inline constexpr std::uint16_t kModeReset = 0x00;
inline constexpr std::uint16_t kModeReady = 0x30;
// Modes while streaming and halted. The FPGA times the frames, or the host times each exposure.
inline constexpr std::uint16_t kModeRun = 0x21;
inline constexpr std::uint16_t kModeRunTimedByHost = 0xE1;
inline constexpr std::uint16_t kModeHalt = 0x31;
inline constexpr std::uint16_t kModeHaltTimedByHost = 0xF1;
inline constexpr std::uint16_t kHold = 1;  ///< see FpgaHold
inline constexpr std::uint16_t kReadoutMode = 2;
inline constexpr std::uint16_t kColumns = 4;  ///< 2 bytes, of a frame on the wire
inline constexpr std::uint16_t kReadoutTiming = 6;
inline constexpr std::uint16_t kRows = 8;  ///< 2 bytes, of a frame on the wire
inline constexpr std::uint16_t kDepth = 10;
inline constexpr std::uint16_t kDepthFast = 0;
inline constexpr std::uint16_t kDepth8 = 1;
inline constexpr std::uint16_t kDepth16 = 17;
inline constexpr std::uint16_t kExposure = 11;  ///< 1 while the host exposes
inline constexpr std::uint16_t kRedGain = 12;
inline constexpr std::uint16_t kBlueGain = 15;
/// The gains of red, the two greens, and blue.
inline constexpr std::array<std::uint16_t, 4> kColourGains = {kRedGain, 13, 14, kBlueGain};
inline constexpr std::uint16_t kUnityGain = 128;
inline constexpr std::uint16_t kFrameLength = 16;  ///< 3 bytes, lines
inline constexpr std::uint16_t kLineLength = 19;   ///< 2 bytes, clock cycles
}  // namespace fpga

/// The marks at both ends of a frame, 16-bit words. The second word and the last but one are the
/// sequence number of the frame.
namespace mark {
inline constexpr std::uint16_t kStart = 0x5A7E;
inline constexpr std::uint16_t kEnd = 0x3CF0;
/// Bytes of the two words at each end.
inline constexpr std::size_t kBytes = 4;
}  // namespace mark

/// Written after every initialisation table.
inline constexpr std::array<std::pair<std::uint16_t, std::uint8_t>, 8> kFixedSensorWrites = {{
    {0x305C, 0x20},
    {0x305E, 0x20},
    {0x305D, 0x00},
    {0x305F, 0x00},
    {0x3044, 0xE1},
    {0x3005, 0x01},
    {0x3036, 0x08},
    {0x3007, 0x40},
}};

}  // namespace orvik
