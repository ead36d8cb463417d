// SPDX-License-Identifier: MIT
#pragma once

#include "camera/host_white_balance.h"
#include "cooler/cooled_camera.h"
#include "models/command_camera.h"
#include "models/marked_frame_camera.h"
#include "models/model_list.h"
#include "models/register_camera.h"

/// The driver classes T01C to T15C: each is its family with the row and facts of the model. Their
/// destructors end capture before any part of the object is destroyed.
namespace orvik {

// NOLINTBEGIN(bugprone-macro-parentheses): a base class cannot be in parentheses
#define ORVIK_DECLARE_MODEL(code, Family) \
  class code final : public Family {      \
   public:                                \
    code() : Family(kRow, kFacts) {}      \
    ~code() override { endCapture(); }    \
    static const ModelRow kRow;           \
    static const Family::Facts kFacts;    \
  };

// NOLINTEND(bugprone-macro-parentheses)

ORVIK_MODELS(ORVIK_DECLARE_MODEL)

#undef ORVIK_DECLARE_MODEL

}  // namespace orvik
