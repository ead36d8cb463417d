// SPDX-License-Identifier: MIT
/**
 * @file orvik.hpp
 * The library in C++20: a thin wrapper over orvik_service.h, in headers only.
 *
 *     #include <orvik/orvik.hpp>
 *
 *     auto camera = orvik::Camera::open();
 *     camera.set(orvik::control::kExposure, std::chrono::milliseconds(20));
 *     const orvik::Frame frame = orvik::snap(camera);
 *     std::cout << frame.info().width << " x " << frame.info().height << '\n';
 *
 * - A camera is an object: Camera::open() opens it by serial number or port, its destructor closes
 *   it (camera.hpp).
 * - Controls have names with types, and are a range for programs that show them all
 *   (controls.hpp).
 * - Single exposures are functions, videos ranges; both end at a `std::stop_token` (capture.hpp).
 *   An image knows its format, its time and its settings (frame.hpp).
 * - Cameras that are plugged in and unplugged are reported to a function (device.hpp).
 * - An error is an exception with the text of the library, or a `std::error_code` (error.hpp).
 *
 * All names are in the namespace `orvik`; its inner namespace `v0` has the number of the interface,
 * so that parts of a program that were built with different versions can be linked together.
 */
#ifndef ORVIK_ORVIK_HPP
#define ORVIK_ORVIK_HPP

#include "orvik/cpp/camera.hpp"
#include "orvik/cpp/capture.hpp"
#include "orvik/cpp/controls.hpp"
#include "orvik/cpp/corrections.hpp"
#include "orvik/cpp/device.hpp"
#include "orvik/cpp/error.hpp"
#include "orvik/cpp/firmware.hpp"
#include "orvik/cpp/frame.hpp"

/// @defgroup cpp The C++ wrapper

#endif
