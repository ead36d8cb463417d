// SPDX-License-Identifier: MIT
#include "integrations/server/page/page_viewer.h"

#include "integrations/server/page/messages.h"

namespace orvik::server {

void PageViewer::picture(const Picture& picture, std::shared_ptr<const std::string> jpeg) {
  socket_->sendBinary(message::pictureHead(picture), std::move(jpeg));
}

void PageViewer::statistics(const std::shared_ptr<const FrameReport>& report,
                            const std::optional<PixelValue>& pixel) {
  if (hasRoom()) socket_->sendText(message::statistics(*report, pixel));
}

void PageViewer::stars(const std::vector<imaging::Star>& stars,
                       std::span<const FocusSample> course) {
  // Also on a slow line: the course has to arrive whole.
  socket_->sendText(message::stars(stars, course));
}

void PageViewer::stretch(const imaging::Stretch& stretch) {
  socket_->sendText(message::stretch(stretch));
}

}  // namespace orvik::server
