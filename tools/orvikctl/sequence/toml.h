// SPDX-License-Identifier: MIT
// Includes the TOML parser. With NDEBUG it promises the compiler that its assertions hold, which
// damaged files break: the behaviour would be undefined. Without assertions, and without that
// promise, it reports such files as any other error.
#pragma once

#pragma push_macro("NDEBUG")
#undef NDEBUG
#define TOML_ASSERT(condition) static_cast<void>(0)
#include <toml++/toml.h>
#pragma pop_macro("NDEBUG")
