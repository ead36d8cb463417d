// SPDX-License-Identifier: MIT
#include "integrations/server/camera/failure.h"

#include <exception>

#include "imaging/errors.h"

namespace orvik::server {
namespace {

Failure::Kind kindOf(Orvik_ERROR_CODE code) {
  switch (code) {
    case Orvik_ERROR_CAMERA_INDEX:
    case Orvik_ERROR_NO_CAMERA_OBJECT:
    case Orvik_ERROR_NO_DEVICE:
      return Failure::Kind::kNotOpen;
    case Orvik_ERROR_VIDEO_RUNNING:
    case Orvik_ERROR_EXPOSING:
      return Failure::Kind::kBusy;
    case Orvik_ERROR_ROI_SIZE:
    case Orvik_ERROR_IMAGE_TYPE:
    case Orvik_ERROR_START_POS:
    case Orvik_ERROR_CONTROL:
    case Orvik_ERROR_ARGUMENT:
      return Failure::Kind::kBadValue;
    default:
      return Failure::Kind::kCamera;
  }
}

}  // namespace

FailureException::FailureException(Failure failure)
    : std::runtime_error(failure.message), failure_(std::move(failure)) {}

Failure currentFailure() {
  try {
    throw;
  } catch (const FailureException& error) {
    return error.failure();
  } catch (const Error& error) {
    return {kindOf(error.orvikCode()), error.orvikCode(), error.what()};
  } catch (const imaging::FileError& error) {
    return {Failure::Kind::kFile, Orvik_OK, error.what()};
  } catch (const imaging::NameError& error) {
    return {Failure::Kind::kBadValue, Orvik_OK, error.what()};
  } catch (const std::bad_alloc&) {
    return {Failure::Kind::kCamera, Orvik_OK, "There is not enough memory."};
  } catch (const std::exception& error) {
    return {Failure::Kind::kCamera, Orvik_OK, error.what()};
  } catch (...) {
    return {Failure::Kind::kCamera, Orvik_OK, "An unknown error."};
  }
}

}  // namespace orvik::server
