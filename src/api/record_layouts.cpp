// SPDX-License-Identifier: MIT
#include "api/record_layouts.h"
