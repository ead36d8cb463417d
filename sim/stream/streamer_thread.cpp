// SPDX-License-Identifier: MIT
// What the streamer's thread does: it waits for what is due, reads frames out row by row, and hands
// to the pipe what the link has carried.
#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include "sim/stream/streamer.h"

namespace orvik::sim {
namespace {

using Duration = seam::Clock::Duration;

/// How many frames the thread may be behind before it loses some, on a machine that is too slow.
constexpr int kMostFramesBehind = 8;

/// Rows go into the FIFO in parts of about this size: small beside it, so that filling and emptying
/// overlap as they do in the hardware.
constexpr std::size_t kRowsBytes = LinkFifo::kBytes / 16;

/// The thread checks what has arrived after about this many bytes, plus or minus half of them.
constexpr int kPortion = 256 << 10;

/// When a free-running frame's first row begins to come off the board.
Duration readoutOf(const FrameSettings& settings, Duration frameEnds) {
  return frameEnds - settings.lineTime() * settings.rows;
}

}  // namespace

void Streamer::run() {
  Lock lock(mutex_);
  try {
    if (hasToPrepare()) {
      prepared_ = Prepared::kYes;
      lock.unlock();
      pictures_.prepare();
      lock.lock();
    }
    while (wanted()) {
      poked_ = false;
      while (wanted() && step(lock)) {
      }
      if (wanted()) waitForWork(lock);
    }
  } catch (const std::bad_alloc&) {
    // No memory for a picture: the camera sends nothing until the next request.
    if (!lock.owns_lock()) lock.lock();
  }
  if (!hostPresent_) pictures_.release();
  threadRuns_ = false;
}

void Streamer::waitForWork(Lock& lock) {
  const auto poked = [this] { return poked_; };
  portion_ = kPortion / 2 + static_cast<std::size_t>(jitter_.below(kPortion));
  if (pipe_.ready()) portion_ = std::min(portion_, pipe_.room());
  if (const auto next = nextEvent()) {
    clock_->waitUntil(lock, work_, *next, poked);
  } else {
    work_.wait(lock, poked);
  }
}

/// When the next thing is due, unless a request comes earlier.
std::optional<Duration> Streamer::nextEvent() const {
  if (!timed()) return std::nullopt;
  std::optional<Duration> next;
  const auto consider = [&next](Duration at) { next = next ? std::min(*next, at) : at; };
  if (exposing_ && state_.mode == RunMode::kFreeRunning) {
    consider(readoutOf(exposing_->settings, exposing_->ends));
  }
  if (reading_) {
    const RowClock& rows = reading_->rows;
    const std::size_t missing = portion_ - std::min(portion_ - 1, outbox_.bytes());
    const auto count = static_cast<int>((missing + rows.rowBytes() - 1) / rows.rowBytes());
    consider(reading_->lost ? rows.end()
                            : std::min(rows.end(), rows.endOf(rows.row() + count - 1)));
  }
  if (link_.waiting() > 0) {
    const double seconds = static_cast<double>(std::min(link_.waiting(), portion_)) / link_.rate();
    consider(clock_->now() +
             std::chrono::ceil<std::chrono::microseconds>(std::chrono::duration<double>(seconds)));
  }
  return next;
}

/// Does one thing that is due, if there is one.
/// @return whether there was.
bool Streamer::step(Lock& lock) {
  if (!timed()) return send(lock) || developAtOnce(lock);
  const Duration now = clock_->now();
  if (readRows(now)) return true;
  link_.drain(boardTime(now));
  if (send(lock)) return true;
  return reading_ ? makeStrip(lock) : beginReadout(now);
}

/// The time until which it is known what the board has sent: earlier than now if the thread is
/// late.
Duration Streamer::boardTime(Duration now) const {
  if (reading_ && !reading_->hasNext()) {
    return std::min(now, reading_->rows.endOf(reading_->rows.row() - 1));
  }
  if (exposing_ && state_.mode == RunMode::kFreeRunning) {
    return std::min(now, readoutOf(exposing_->settings, exposing_->ends));
  }
  return exposed_ ? std::min(now, exposed_->ends) : now;
}

bool Streamer::send(Lock& lock) {
  if (!pipe_.ready() || outbox_.empty()) return false;
  const std::size_t arrived = this->arrived();
  const std::size_t whole = outbox_.wholeRun();
  const std::size_t most = whole > 0 && arrived >= whole ? whole : pipe_.wholePackets(arrived);
  if (most == 0) return false;
  const Outbox::Piece piece = outbox_.next(most);
  const std::uint64_t discards = discards_;
  const std::size_t sent = pipe_.send(lock, piece.bytes, piece.endsRun);
  if (discards == discards_) {
    outbox_.remove(sent);
  } else {
    pipe_.beginPacket();
  }
  return true;
}

/// Whether a whole frame waits for a host that has no transfer in flight.
bool Streamer::hostIsLate() const {
  const std::size_t whole = outbox_.wholeRun();
  return whole > 0 && arrived() >= whole && !pipe_.ready();
}

std::size_t Streamer::arrived() const {
  return outbox_.bytes() - std::min(outbox_.bytes(), link_.waiting());
}

/// Free pace: a frame is complete as soon as it is wanted.
bool Streamer::developAtOnce(Lock& lock) {
  std::optional<FrameSettings> settings;
  Window exposed;
  bool lost = false;
  if (state_.mode == RunMode::kTriggered) {
    if (!exposed_) return false;
    settings = exposed_->settings;
    exposed = {exposed_->begins, exposed_->ends};
    exposed_.reset();
    lost = !outbox_.empty();
  } else {
    if (!outbox_.empty() || !pipe_.ready()) return false;
    state_ = camera_.captureState();
    settings = state_.settings;
    if (!settings) return false;
    const Duration now = clock_->now();
    exposed = {now - settings->exposure, now};
  }
  const std::uint64_t number = nextFrame_++;
  if (lost) return true;
  const bool repeated = state_.mode == RunMode::kFreeRunning;
  const std::uint64_t changes = changes_;
  const Look look = camera_.look(exposed.begins, exposed.ends);
  lock.unlock();
  std::shared_ptr<const Picture> picture = pictures_.make(*settings, look, number, repeated);
  lock.lock();
  if (picture && changes == changes_) {
    outbox_.add(picture, 0, picture->size());
    outbox_.endRun();
  }
  return true;
}

bool Streamer::beginReadout(Duration now) {
  std::optional<Exposure>& exposure = state_.mode == RunMode::kTriggered ? exposed_ : exposing_;
  if (!exposure) return false;
  const FrameSettings& settings = exposure->settings;
  const Duration begins =
      state_.mode == RunMode::kTriggered ? exposure->ends : readoutOf(settings, exposure->ends);
  if (now < begins) return false;
  link_.use(settings);
  reading_ = Readout{.settings = settings,
                     .number = nextFrame_++,
                     .exposed = {begins - settings.exposure, begins},
                     .rows = RowClock(settings, begins),
                     .strip = {},
                     .lost = hostIsLate()};
  exposure.reset();
  return true;
}

/// Makes the rows that come next, without the lock.
bool Streamer::makeStrip(Lock& lock) {
  if (reading_->hasNext()) return false;
  // By value: the registers may be written while the rows are made.
  const FrameSettings settings = reading_->settings;
  const std::uint64_t number = reading_->number;
  const int row = reading_->rows.row();
  const std::uint64_t changes = changes_;
  const Look look = camera_.look(reading_->exposed.begins, reading_->exposed.ends);
  lock.unlock();
  Strip strip = pictures_.makeStrip(settings, look, number, row);
  lock.lock();
  if (changes != changes_) return true;
  reading_->lost = strip.picture == nullptr;
  reading_->strip = std::move(strip);
  return true;
}

/// Takes the rows that have come by `now` off the board. @return whether there were any.
bool Streamer::readRows(Duration now) {
  if (!reading_ || !reading_->hasNext()) return false;
  RowClock& rows = reading_->rows;
  const Strip& strip = reading_->strip;
  const int most = std::max(1, static_cast<int>(kRowsBytes / rows.rowBytes()));
  const int before = rows.row();
  const auto due = [&] {
    const int made = reading_->lost ? most : strip.rows.end - rows.row();
    return rows.due(now, std::min(most, made));
  };
  for (int count = due(); count > 0; count = due()) {
    const auto bytesTo = [&](int row) {
      return std::min(static_cast<std::size_t>(row - strip.rows.begin) * rows.rowBytes(),
                      strip.picture->size());
    };
    const int first = rows.row();
    rows.pass(count);
    if (reading_->lost) continue;
    const std::size_t begin = bytesTo(first);
    const std::size_t end = rows.done() ? strip.picture->size() : bytesTo(rows.row());
    const std::size_t kept = link_.put(end - begin, rows.endOf(rows.row() - 1));
    outbox_.add(strip.picture, begin, begin + kept);
  }
  const bool any = rows.row() > before;
  if (rows.done()) endReadout();  // `rows` is gone after this
  return any;
}

/// The last row has come: the frame ends, and in free running the next one begins.
void Streamer::endReadout() {
  if (!reading_->lost) outbox_.endRun();
  const Duration ended = reading_->rows.endOf(reading_->rows.row() - 1);
  reading_.reset();
  ++changes_;
  state_ = camera_.captureState();
  beginExposure(ended);
  if (!exposing_ || state_.mode != RunMode::kFreeRunning) return;
  const Duration frameTime = exposing_->settings.frameTime;
  const auto behind = (clock_->now() - exposing_->ends) / frameTime;
  if (behind > kMostFramesBehind) {
    nextFrame_ += static_cast<std::uint64_t>(behind);
    exposing_->begins += behind * frameTime;
    exposing_->ends += behind * frameTime;
  }
}

}  // namespace orvik::sim
