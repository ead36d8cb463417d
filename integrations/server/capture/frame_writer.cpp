// SPDX-License-Identifier: MIT
#include "integrations/server/capture/frame_writer.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace orvik::server {

struct FrameWriter::State {
  struct Entry {
    SharedFrame frame;
    imaging::ImageInfo info;
  };

  mutable std::mutex mutex;
  std::condition_variable changed;
  std::deque<Entry> waiting;
  bool hasFailed = false;
  bool hasEnded = false;
  Done done;
  Progress progress;

  /// The oldest frame that waits; empty when none will follow.
  std::optional<Entry> next() {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return hasEnded || !waiting.empty(); });
    if (waiting.empty()) return std::nullopt;
    Entry entry = std::move(waiting.front());
    waiting.pop_front();
    return entry;
  }

  void note(const CaptureFiles& files) {
    const std::scoped_lock lock(mutex);
    ++progress.frames;
    progress.bytes = files.bytes();
    progress.file = files.last();
  }
};

FrameWriter::FrameWriter() : state_(std::make_shared<State>()) {}

FrameWriter::~FrameWriter() { end({}); }

void FrameWriter::begin(Make make, Callbacks callbacks) {
  // Nobody can wait for a thread that hangs in a call to the disk.
  std::thread([state = state_, make = std::move(make), callbacks = std::move(callbacks)] {
    run(*state, make, callbacks);
  }).detach();
}

void FrameWriter::add(SharedFrame frame, imaging::ImageInfo info) {
  const std::scoped_lock lock(state_->mutex);
  if (state_->hasFailed || state_->hasEnded) return;
  state_->waiting.push_back({std::move(frame), std::move(info)});
  state_->changed.notify_one();
}

void FrameWriter::end(Done done) {
  const std::scoped_lock lock(state_->mutex);
  if (std::exchange(state_->hasEnded, true)) return;
  state_->done = std::move(done);
  state_->changed.notify_one();
}

FrameWriter::Progress FrameWriter::progress() const {
  const std::scoped_lock lock(state_->mutex);
  return state_->progress;
}

void FrameWriter::run(State& state, const Make& make, const Callbacks& callbacks) {
  std::unique_ptr<CaptureFiles> files;
  try {
    files = make();
  } catch (...) {
    callbacks.ready(currentFailure());
    return;
  }
  callbacks.ready({});
  Outcome outcome;
  try {
    writeAll(state, *files, callbacks);
    files->finish();
  } catch (...) {
    outcome = currentFailure();
    const std::scoped_lock lock(state.mutex);
    state.hasFailed = true;
    state.waiting.clear();
  }
  files.reset();
  if (outcome) callbacks.failed();
  std::unique_lock lock(state.mutex);
  state.changed.wait(lock, [&state] { return state.hasEnded; });
  const Done done = std::move(state.done);
  lock.unlock();
  if (done) done(outcome);
}

void FrameWriter::writeAll(State& state, CaptureFiles& files, const Callbacks& callbacks) {
  while (auto entry = state.next()) {
    files.write({entry->info, entry->frame->bytes()});
    entry->frame.reset();
    state.note(files);
    callbacks.written();
  }
}

}  // namespace orvik::server
