// SPDX-License-Identifier: MIT
// Properties, opening and closing, and the choice of the format. Frames: source_frames.cpp.
#include "integrations/gstreamer/source.h"

#include <algorithm>

namespace orvik::gst {
namespace {

/// Cameras are opened and closed by one thread at a time in a process, which may have several
/// pipelines.
std::mutex& openingLock() {
  static std::mutex mutex;
  return mutex;
}

GstResourceError kindOf(const std::error_code& error) {
  if (error == errorCode(Orvik_ERROR_NO_DEVICE)) return GST_RESOURCE_ERROR_NOT_FOUND;
  if (error == errorCode(Orvik_ERROR_SEVERAL_DEVICES)) return GST_RESOURCE_ERROR_SETTINGS;
  return GST_RESOURCE_ERROR_OPEN_READ_WRITE;
}

constexpr auto kWhilePlaying =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_CONTROLLABLE |
                             GST_PARAM_MUTABLE_PLAYING);

}  // namespace

void Source::installProperties(GObjectClass* type) {
  const auto closed = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS |
                                               GST_PARAM_MUTABLE_READY);
  g_object_class_install_property(
      type, kDevice,
      g_param_spec_string("device", "device",
                          "Serial number or port of the camera; without it the only one that is "
                          "plugged in. Takes effect when the camera is opened (NULL to READY)",
                          nullptr, closed));
  g_object_class_install_property(
      type, kBin,
      g_param_spec_int("bin", "bin", "Pixels that are binned to one, in each direction", 1, 16, 1,
                       kWhilePlaying));
  g_object_class_install_property(
      type, kRegionX,
      g_param_spec_int("region-x", "region-x",
                       "Left edge of the region of interest, pixels after binning; -1 centres it",
                       -1, 65535, -1, kWhilePlaying));
  g_object_class_install_property(
      type, kRegionY,
      g_param_spec_int("region-y", "region-y",
                       "Top edge of the region of interest, pixels after binning; -1 centres it",
                       -1, 65535, -1, kWhilePlaying));
  g_object_class_install_property(
      type, kFramesLost,
      g_param_spec_int64("frames-lost", "frames-lost", "Frames lost since the source was started",
                         0, G_MAXINT64, 0,
                         static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS)));
  ControlProperties::install(type, kFirstControl);
}

void Source::post(GstMessageType type, GQuark domain, int code, const std::string& text,
                  const std::string& debug) const {
  gst_element_message_full(element(), type, domain, code, g_strdup(text.c_str()),
                           g_strdup(debug.c_str()), "orviksrc", "orviksrc", 0);
}

void Source::warn(const std::string& text) const {
  post(GST_MESSAGE_WARNING, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_SETTINGS, text, {});
}

void Source::setProperty(guint id, const GValue* value) {
  std::string complaint;  // posted without the lock: who hears it may ask for properties
  {
    const std::lock_guard guard(lock_);
    switch (id) {
      case kDevice: {
        const char* const text = g_value_get_string(value);
        device_ = text != nullptr ? text : "";
        break;
      }
      case kBin:
        bin_ = g_value_get_int(value);
        gst_pad_mark_reconfigure(GST_BASE_SRC_PAD(element_));
        break;
      case kRegionX:
      case kRegionY:
        (id == kRegionX ? regionX_ : regionY_) = g_value_get_int(value);
        moveRegion();
        break;
      default:
        complaint = controls_.set(camera_, static_cast<int>(id - kFirstControl), value);
        seenLatency_ = 0;
    }
  }
  if (!complaint.empty()) warn(complaint);
}

void Source::getProperty(guint id, GValue* value) {
  const std::lock_guard guard(lock_);
  switch (id) {
    case kDevice:
      return g_value_set_string(value, device_.empty() ? nullptr : device_.c_str());
    case kBin:
      return g_value_set_int(value, bin_);
    case kRegionX:
      return g_value_set_int(value, regionX_);
    case kRegionY:
      return g_value_set_int(value, regionY_);
    case kFramesLost:
      return g_value_set_int64(value, framesLost_);
    default:
      controls_.get(camera_, static_cast<int>(id - kFirstControl), value);
  }
}

bool Source::open() {
  std::error_code error;
  std::string complaints;
  std::string device;
  {
    const std::scoped_lock guard(lock_, openingLock());
    device = device_;
    camera_ = Camera::open(device_, error);
    if (!error) complaints = controls_.apply(camera_);
  }
  if (!complaints.empty()) warn(complaints);
  if (!error) return true;
  post(GST_MESSAGE_ERROR, GST_RESOURCE_ERROR, kindOf(error), error.message(),
       "opening " + (device.empty() ? std::string("the only camera") : device));
  return false;
}

void Source::close() {
  const std::scoped_lock guard(lock_, openingLock());
  camera_.close();
}

bool Source::reset() {
  pause();
  const std::lock_guard guard(lock_);
  isNegotiated_ = false;
  framesLost_ = 0;
  seenLatency_ = reportedLatency_ = 0;
  capture_ = base_ = next_ = lost_ = processed_ = 0;
  lastPts_ = -1;
  current_.reset();
  isRateWarned_ = false;
  return true;
}

Caps Source::caps() {
  const std::lock_guard guard(lock_);
  if (!camera_.isOpen()) return Caps(gst_caps_from_string(kTemplateCaps));
  std::error_code ignored;
  const Flip flip = camera_.get(control::kFlip, ignored);
  return cameraCaps(camera_.info(), bin_, static_cast<int>(flip));
}

void Source::placeRegion(ImageFormat& format) const {
  const auto start = [&format](int wanted, int sensor, int size) {
    return wanted >= 0 ? wanted : std::max(sensor / format.bin - size, 0) / 2;
  };
  format.startX = start(regionX_, camera_.info().maxWidth, format.width);
  format.startY = start(regionY_, camera_.info().maxHeight, format.height);
}

/// Moves the region of a running video without a pause.
void Source::moveRegion() {
  if (!isNegotiated_ || !camera_.isOpen()) return;
  std::error_code error;
  ImageFormat format = camera_.format(error);
  placeRegion(format);
  if (!error) camera_.setStart(format.startX, format.startY, error);
}

/// Without a wish of downstream, the region reaches from its start to the edges of the sensor.
ImageFormat Source::wantedFormat(const GstStructure* structure) {
  const std::lock_guard guard(lock_);
  ImageFormat format = camera_.wholeSensor(bin_, imageType(camera_.info(), structure));
  GstStructure* const size = gst_structure_copy(structure);
  const auto choose = [size](const char* field, int most, int from, int step) {
    const int rest = from < most - step ? most - std::max(from, 0) : most;
    int chosen = 0;
    gst_structure_fixate_field_nearest_int(size, field, rest / step * step);
    gst_structure_get_int(size, field, &chosen);
    return chosen / step * step;
  };
  format.width = choose("width", format.width, regionX_, 4);
  format.height = choose("height", format.height, regionY_, 2);
  gst_structure_free(size);
  placeRegion(format);
  return format;
}

/// Sets a format, unless the camera has it, because a running capture is restarted by it.
bool Source::useFormat(const ImageFormat& wanted, std::error_code& error) {
  const std::lock_guard guard(lock_);
  if (isNegotiated_ && wanted == wanted_ && camera_.format(error) == format_) return true;
  camera_.setFormat(wanted, error);
  if (!error) camera_.setStart(wanted.startX, wanted.startY, error);
  if (!error) format_ = camera_.format(error);
  if (!error) wanted_ = wanted;
  return !error;
}

/// Caps of the images that the camera is set to.
Caps Source::capsNow(Rate rate) const {
  std::error_code ignored;
  const int flip = static_cast<int>(camera_.get(control::kFlip, ignored));
  const BayerPattern mosaic =
      imageMosaic(camera_.info().bayer, flip, format_.bin, format_.startX * format_.bin,
                  format_.startY * format_.bin, format_.width, format_.height);
  return imageCaps(camera_.info(), format_, mosaic, rate);
}

double Source::expectedRate() const {
  std::error_code ignored;
  return camera_.readout(ignored).frameRate;
}

bool Source::isAutomatic() const {
  std::error_code ignored;
  return camera_.read(Orvik_CTL_EXPOSURE, ignored).isAuto;
}

/// Takes the camera's own rate if downstream accepts it; a lower one is made by leaving out frames.
bool Source::chooseRate(GstStructure* structure) {
  const double own = expectedRate();
  const bool varies = isAutomatic() || own <= 0;
  const Rate preferred = varies ? Rate{} : Rate::of(own);
  gst_structure_fixate_field_nearest_fraction(structure, "framerate", preferred.numerator,
                                              preferred.denominator);
  gst_structure_get_fraction(structure, "framerate", &rate_.numerator, &rate_.denominator);
  thinTo_.reset();
  if (rate_ == preferred || rate_.numerator == 0) return true;
  if (!varies && !isAsFast(own, rate_.perSecond())) return false;
  thinTo_ = rate_.perSecond();
  nextDue_ = 0;
  return true;
}

/// @return why the camera cannot deliver this, or "" if it can and is set to it
std::string Source::tryStructure(const GstStructure* offered) {
  std::error_code error;
  if (!useFormat(wantedFormat(offered), error)) return error.message();
  const Caps allowed(gst_caps_new_full(gst_structure_copy(offered), nullptr));
  const Caps chosen(gst_caps_copy(allowed.get()));
  const bool isFast = chooseRate(gst_caps_get_structure(chosen.get(), 0));
  current_ = capsNow(rate_);
  if (isFast && gst_caps_can_intersect(current_.get(), allowed.get())) return {};
  return "It is set to deliver " + textOf(capsNow(Rate::of(expectedRate())).get()) +
         ". A shorter exposure or more bandwidth may make it faster.";
}

bool Source::negotiate() {
  const Caps own = caps();
  const Caps peer(gst_pad_peer_query_caps(GST_BASE_SRC_PAD(element_), own.get()));
  const Caps both(gst_caps_intersect_full(own.get(), peer.get(), GST_CAPS_INTERSECT_FIRST));
  std::string why = "Compare format, order of colours and size.";
  for (guint n = 0; n < gst_caps_get_size(both.get()) && !why.empty(); ++n) {
    why = tryStructure(gst_caps_get_structure(both.get(), n));
  }
  if (!why.empty()) {
    post(GST_MESSAGE_ERROR, GST_STREAM_ERROR, GST_STREAM_ERROR_FORMAT,
         camera_.label() + " cannot deliver the images that the next element asks for. " + why,
         "camera: " + textOf(own.get()) + "\nnext element: " + textOf(peer.get()));
    return false;
  }
  gst_base_src_set_blocksize(
      element_, static_cast<guint>(imageBytes(format_.width, format_.height, format_.type)));
  {
    const std::lock_guard guard(lock_);
    isNegotiated_ = true;
  }
  gst_element_post_message(element(), gst_message_new_latency(GST_OBJECT(element_)));
  return gst_base_src_set_caps(element_, current_.get()) == TRUE;
}

/// Rows are packed: a pool of downstream is used if its buffers have no room for anything else.
void Source::decideAllocation(GstQuery* query) const {
  const auto bytes = static_cast<guint>(imageBytes(format_.width, format_.height, format_.type));
  if (gst_query_get_n_allocation_pools(query) == 0) {
    gst_query_add_allocation_pool(query, nullptr, 0, 0, 0);
  }
  GstBufferPool* pool = nullptr;
  guint size = 0;
  guint min = 0;
  guint max = 0;
  gst_query_parse_nth_allocation_pool(query, 0, &pool, &size, &min, &max);
  if (pool == nullptr || size != bytes) {
    if (pool != nullptr) gst_object_unref(pool);
    pool = gst_buffer_pool_new();
    max = 0;
  }
  constexpr guint kFewest = 2;
  gst_query_set_nth_allocation_pool(query, 0, pool, bytes, std::max(min, kFewest), max);
  gst_object_unref(pool);
}

}  // namespace orvik::gst
