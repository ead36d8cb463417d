// SPDX-License-Identifier: MIT
#include "seam/install.h"
#include "usb/current_host.h"

void orvik_private_install_host(const std::shared_ptr<orvik::seam::Host>& host) noexcept {
  orvik::installHost(host);
}
