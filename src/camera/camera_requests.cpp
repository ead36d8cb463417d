// SPDX-License-Identifier: MIT
// The vendor requests of CCameraBase, by their names in the class interface.
#include <array>

#include "camera/camera_base.h"

namespace orvik {
bool CCameraBase::SendCMD(std::uint8_t command) { return link().send(command); }

bool CCameraBase::SendCMD(std::uint8_t command, std::uint16_t value, std::uint16_t index, bool read,
                          std::uint8_t* buffer, std::int32_t length) {
  const bool hasData = buffer != nullptr && length > 0;
  const std::span data(buffer, hasData ? static_cast<std::size_t>(length) : 0);
  return read ? link().receive(command, value, index, data)
              : link().send(command, value, index, data);
}

bool CCameraBase::WriteCameraRegister(std::uint16_t address, std::uint16_t value) {
  return link().writeSensorWord(address, value);
}

bool CCameraBase::WriteCameraRegisterByte(std::uint16_t address, std::uint8_t value) {
  return link().writeSensorByte(address, value);
}

bool CCameraBase::ReadCameraRegister(std::uint16_t address, std::uint16_t* value) {
  return link().readSensorWord(address, *value);
}

bool CCameraBase::ReadCameraRegisterByte(std::uint16_t address, std::uint8_t* value) {
  return link().readSensorByte(address, *value);
}

bool CCameraBase::WriteSONYREG(std::uint16_t address, std::uint8_t value) {
  return WriteCameraRegisterByte(address, value);
}

bool CCameraBase::ReadSONYREG(std::uint16_t address, std::uint8_t* value) {
  return ReadCameraRegisterByte(address, value);
}

bool CCameraBase::WriteFPGAREG(std::uint16_t address, std::uint16_t value) {
  return link().writeFpga(address, value);
}

bool CCameraBase::ReadFPGAREG(std::uint16_t address, std::uint8_t* value) {
  return link().readFpga(address, *value);
}

bool CCameraBase::EnableGPIF32DQ(bool enable) {
  return link().send(codeOf(VendorRequest::kSwitchBus), enable ? 1 : 0);
}

bool CCameraBase::StartUSBStreaming() { return SendCMD(codeOf(VendorRequest::kStartStreaming)); }

bool CCameraBase::StopUSBStreaming() { return SendCMD(codeOf(VendorRequest::kStopStreaming)); }

bool CCameraBase::StartSensorCLK() { return link().startSensorClock(); }

bool CCameraBase::StopSensorCLK() { return link().stopSensorClock(); }

bool CCameraBase::GetFirmwareVer(std::uint8_t* version) {
  std::array<std::uint8_t, 2> answer{};
  const bool ok = link().receive(codeOf(VendorRequest::kFirmwareVersion), 0, 0, answer);
  *version = answer[0] == 'V' ? answer[1] : 1;
  return ok;
}

bool CCameraBase::GetFPGAVer(std::uint8_t* major, std::uint8_t* digits) {
  constexpr std::uint16_t kMajorRegister = 29;
  constexpr std::uint16_t kFirstDigitsRegister = 30;
  constexpr std::uint16_t kLastDigitsRegister = 31;
  std::uint8_t first = 0;
  std::uint8_t last = 0;
  ReadFPGAREG(kMajorRegister, major);
  ReadFPGAREG(kFirstDigitsRegister, &first);
  const bool ok = ReadFPGAREG(kLastDigitsRegister, &last);
  digits[0] = first >> 4;
  digits[1] = first & 0x0F;
  digits[2] = last >> 4;
  digits[3] = last & 0x0F;
  return ok;
}

void CCameraBase::GetFPGAVerVal(std::uint8_t* major, std::uint8_t* digits) const {
  *major = fpgaMajor_;
  for (std::size_t i = 0; i < fpgaDigits_.size(); ++i) digits[i] = fpgaDigits_[i];
}

bool CCameraBase::IsUSB3Host() {
  std::array<std::uint8_t, 1> answer{};
  return link().receive(codeOf(VendorRequest::kHostPort), 0, 0, answer) && answer[0] == 1;
}

bool CCameraBase::ResetEndPoint(std::uint8_t) { return link().resetBulkPipe(); }

bool CCameraBase::ResetDevice() { return isOpen() && link().device().resetDevice(); }

}  // namespace orvik
