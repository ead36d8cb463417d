// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

namespace orvik::imaging {

/// A file cannot be read or written: the message names it and says why.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A file exists and may not be replaced.
class FileExists : public FileError {
 public:
  using FileError::FileError;
};

/// The program that read a pipe has closed it.
class ReaderGone : public FileError {
 public:
  using FileError::FileError;
};

/// A stop was requested, and the reader of a pipe takes no more.
class WriteStopped : public FileError {
 public:
  using FileError::FileError;
};

/// The name of a file does not say how to write the images.
class NameError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace orvik::imaging
