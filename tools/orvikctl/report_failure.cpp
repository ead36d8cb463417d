// SPDX-License-Identifier: MIT
#include "tools/orvikctl/report_failure.h"

#include <iostream>
#include <string>

#include "imaging/errors.h"
#include "orvik/orvik.hpp"
#include "tools/orvikctl/exit_code.h"

namespace orvik::ctl {
namespace {

ExitCode tell(ExitCode code, const std::string& message) {
  std::cerr << "orvikctl: " << message << '\n';
  return code;
}

}  // namespace

ExitCode reportFailure(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const Failure& error) {
    return tell(error.code(), error.what());
  } catch (const Error& error) {
    return tell(exitCodeOf(error.orvikCode()), error.what());
  } catch (const imaging::NameError& error) {
    return tell(ExitCode::kUsage, std::string("--output ") + error.what());
  } catch (const imaging::FileExists& error) {
    return tell(ExitCode::kFileFailed,
                std::string(error.what()) + " Choose another --output, or add --overwrite.");
  } catch (const imaging::WriteStopped& error) {
    return tell(ExitCode::kInterrupted, error.what());
  } catch (const imaging::FileError& error) {
    return tell(ExitCode::kFileFailed, error.what());
  } catch (const std::exception& error) {
    return tell(ExitCode::kInternal, error.what());
  } catch (...) {
    return tell(ExitCode::kInternal, "unknown fault");
  }
}

}  // namespace orvik::ctl
