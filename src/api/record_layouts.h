/* SPDX-License-Identifier: MIT */
/*
 * The offsets of the fields of the public records. Programs are compiled with these numbers: a
 * record that changes breaks programs that were compiled before. Checked when the library is
 * compiled, in C and in C++.
 */
#pragma once

// NOLINTBEGIN(modernize-deprecated-headers): C reads this as well
#include <assert.h>
#include <stddef.h>
// NOLINTEND(modernize-deprecated-headers)

#include "orvik/orvik_service.h"

#define RECORD(record, bytes) static_assert(sizeof(record) == (bytes), #record)
#define FIELD(record, field, place) static_assert(offsetof(record, field) == (place), #field)

RECORD(Orvik_CAMERA_INFO, 216);
FIELD(Orvik_CAMERA_INFO, name, 0);
FIELD(Orvik_CAMERA_INFO, cameraIndex, 64);
FIELD(Orvik_CAMERA_INFO, maxHeight, 68);
FIELD(Orvik_CAMERA_INFO, maxWidth, 72);
FIELD(Orvik_CAMERA_INFO, colour, 76);
FIELD(Orvik_CAMERA_INFO, bayer, 80);
FIELD(Orvik_CAMERA_INFO, bins, 84);
FIELD(Orvik_CAMERA_INFO, imageTypes, 148);
FIELD(Orvik_CAMERA_INFO, pixelSizeUm, 184);
FIELD(Orvik_CAMERA_INFO, hasShutter, 192);
FIELD(Orvik_CAMERA_INFO, hasST4, 196);
FIELD(Orvik_CAMERA_INFO, hasCooler, 200);
FIELD(Orvik_CAMERA_INFO, usb3Host, 204);
FIELD(Orvik_CAMERA_INFO, usb3Camera, 208);

RECORD(Orvik_CONTROL_CAPS, 216);
FIELD(Orvik_CONTROL_CAPS, name, 0);
FIELD(Orvik_CONTROL_CAPS, description, 64);
FIELD(Orvik_CONTROL_CAPS, maxValue, 192);
FIELD(Orvik_CONTROL_CAPS, minValue, 196);
FIELD(Orvik_CONTROL_CAPS, defaultValue, 200);
FIELD(Orvik_CONTROL_CAPS, autoSupported, 204);
FIELD(Orvik_CONTROL_CAPS, writable, 208);
FIELD(Orvik_CONTROL_CAPS, controlType, 212);

RECORD(Orvik_ID, 32);
FIELD(Orvik_ID, id, 0);

RECORD(Orvik_DARK_INFO, 272);
FIELD(Orvik_DARK_INFO, hasDark, 0);
FIELD(Orvik_DARK_INFO, inUse, 4);
FIELD(Orvik_DARK_INFO, mean, 8);
FIELD(Orvik_DARK_INFO, hotPixels, 12);
FIELD(Orvik_DARK_INFO, path, 16);

RECORD(Orvik_DARK_RECORDING, 12);
FIELD(Orvik_DARK_RECORDING, framesTaken, 0);
FIELD(Orvik_DARK_RECORDING, framesWanted, 4);
FIELD(Orvik_DARK_RECORDING, isOver, 8);

RECORD(Orvik_HOT_PIXEL_INFO, 16);
FIELD(Orvik_HOT_PIXEL_INFO, hasTable, 0);
FIELD(Orvik_HOT_PIXEL_INFO, isOn, 4);
FIELD(Orvik_HOT_PIXEL_INFO, onSensor, 8);
FIELD(Orvik_HOT_PIXEL_INFO, inRegion, 12);

RECORD(Orvik_PIXEL, 8);
FIELD(Orvik_PIXEL, x, 0);
FIELD(Orvik_PIXEL, y, 4);

RECORD(Orvik_SETTINGS_PLACE, 4100);
FIELD(Orvik_SETTINGS_PLACE, file, 0);
FIELD(Orvik_SETTINGS_PLACE, obstacle, 4096);

RECORD(Orvik_PRODUCT, 80);
FIELD(Orvik_PRODUCT, name, 0);
FIELD(Orvik_PRODUCT, vendorId, 64);
FIELD(Orvik_PRODUCT, productId, 68);
FIELD(Orvik_PRODUCT, largestFrameBytes, 72);
FIELD(Orvik_PRODUCT, usb3Camera, 76);

RECORD(Orvik_FIRMWARE_VERSION, 12);
FIELD(Orvik_FIRMWARE_VERSION, firmware, 0);
FIELD(Orvik_FIRMWARE_VERSION, fpgaMajor, 4);
FIELD(Orvik_FIRMWARE_VERSION, fpgaMinor, 8);

RECORD(Orvik_FIRMWARE_FILE, 24);
FIELD(Orvik_FIRMWARE_FILE, format, 0);
FIELD(Orvik_FIRMWARE_FILE, fileBytes, 4);
FIELD(Orvik_FIRMWARE_FILE, parts, 8);
FIELD(Orvik_FIRMWARE_FILE, dataBytes, 12);
FIELD(Orvik_FIRMWARE_FILE, entry, 16);
FIELD(Orvik_FIRMWARE_FILE, fitsFlash, 20);

RECORD(Orvik_READOUT_INFO, 16);
FIELD(Orvik_READOUT_INFO, converterBits, 0);
FIELD(Orvik_READOUT_INFO, frameBytes, 4);
FIELD(Orvik_READOUT_INFO, frameRate, 8);

RECORD(Orvik_COOLER_STATUS, 28);
FIELD(Orvik_COOLER_STATUS, isRegulating, 0);
FIELD(Orvik_COOLER_STATUS, aim, 4);
FIELD(Orvik_COOLER_STATUS, power, 8);
FIELD(Orvik_COOLER_STATUS, temperature, 12);
FIELD(Orvik_COOLER_STATUS, isValid, 16);
FIELD(Orvik_COOLER_STATUS, secondsSinceReading, 20);
FIELD(Orvik_COOLER_STATUS, fault, 24);

RECORD(Orvik_FRAME_INFO, 128);
FIELD(Orvik_FRAME_INFO, capture, 0);
FIELD(Orvik_FRAME_INFO, number, 8);
FIELD(Orvik_FRAME_INFO, lostBefore, 16);
FIELD(Orvik_FRAME_INFO, exposureStart, 24);
FIELD(Orvik_FRAME_INFO, exposureEnd, 32);
FIELD(Orvik_FRAME_INFO, firstByte, 40);
FIELD(Orvik_FRAME_INFO, lastByte, 48);
FIELD(Orvik_FRAME_INFO, uncertainty, 56);
FIELD(Orvik_FRAME_INFO, utcOffset, 64);
FIELD(Orvik_FRAME_INFO, exposureUs, 72);
FIELD(Orvik_FRAME_INFO, width, 80);
FIELD(Orvik_FRAME_INFO, height, 84);
FIELD(Orvik_FRAME_INFO, bin, 88);
FIELD(Orvik_FRAME_INFO, type, 92);
FIELD(Orvik_FRAME_INFO, startX, 96);
FIELD(Orvik_FRAME_INFO, startY, 100);
FIELD(Orvik_FRAME_INFO, flip, 104);
FIELD(Orvik_FRAME_INFO, gain, 108);
FIELD(Orvik_FRAME_INFO, blackLevel, 112);
FIELD(Orvik_FRAME_INFO, temperature, 116);
FIELD(Orvik_FRAME_INFO, snapshot, 120);
FIELD(Orvik_FRAME_INFO, settled, 124);

RECORD(Orvik_DEVICE, 248);
FIELD(Orvik_DEVICE, name, 0);
FIELD(Orvik_DEVICE, serial, 64);
FIELD(Orvik_DEVICE, port, 128);
FIELD(Orvik_DEVICE, identity, 168);
FIELD(Orvik_DEVICE, vendorId, 232);
FIELD(Orvik_DEVICE, productId, 236);
FIELD(Orvik_DEVICE, isOpen, 240);
FIELD(Orvik_DEVICE, handle, 244);

#undef RECORD
#undef FIELD
