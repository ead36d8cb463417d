// SPDX-License-Identifier: MIT
#pragma once

#include <gst/gst.h>

namespace orvik::gst {

/// The element orviksrc: images of a camera as a live source.
GType orvikSrcType();

/// The provider that lists cameras, and tells when they are plugged in and unplugged.
GType deviceProviderType();

}  // namespace orvik::gst
