// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace orvik::settings {

/// Whether the TOML library can be trusted with a text, whether or not it is TOML. Outside strings
/// and remarks there are two things that it cannot take:
///
/// - letters beyond ASCII (U+0497 makes it run into what it takes for impossible);
/// - thousands of dots: each dot of a key is a table inside a table, and it walks tables by
///   recursion, which costs the stack.
///
/// A settings file has neither. Linear in the text's length.
bool isSafeToParse(std::string_view text);

}  // namespace orvik::settings
