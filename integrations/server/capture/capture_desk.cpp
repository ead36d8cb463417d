// SPDX-License-Identifier: MIT
#include "integrations/server/capture/capture_desk.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <utility>

#include "imaging/unplugged.h"
#include "integrations/server/capture/capture_files.h"
#include "integrations/server/capture/capture_progress.h"
#include "integrations/server/capture/capture_run.h"
#include "integrations/server/capture/file_names.h"
#include "integrations/server/capture/frame_writer.h"

namespace orvik::server {
namespace {

using Clock = std::chrono::steady_clock;

/// "20 images moon", "video moon".
std::string textOf(const CaptureRequest& request) {
  std::string text(request.kind == CaptureKind::kVideo ? "video" : "images");
  if (request.kind == CaptureKind::kImages && request.count) {
    text = *request.count == 1 ? "image" : std::to_string(*request.count) + " images";
  }
  return text + " " + beginningOf(request.name);
}

Failure failure(Failure::Kind kind, std::string message) {
  return {.kind = kind, .message = std::move(message)};
}

}  // namespace

class CaptureDesk::Impl : public std::enable_shared_from_this<Impl> {
 public:
  Impl(std::shared_ptr<ServedCamera> camera, std::shared_ptr<CaptureFolder> folder)
      : camera_(std::move(camera)), folder_(std::move(folder)) {}

  void start(CaptureRequest request, std::string who, const Done& done);
  Outcome stop(const std::string& who);
  void stopAndWait();
  [[nodiscard]] CaptureState state() const;
  [[nodiscard]] std::shared_ptr<void> onChange(std::function<void()> function) {
    return changed_.connect(std::move(function));
  }

 private:
  /// A capture from start() to its end. Three threads work for it, one after the other: the
  /// writer's makes the files, the camera's captures, the writer's completes the files.
  struct Job {
    Job(CaptureRequest wanted, std::string whose, Done whenBegun)
        : request(std::move(wanted)), who(std::move(whose)), begun(std::move(whenBegun)) {}

    const CaptureRequest request;
    const std::string who;
    const std::string what = textOf(request);
    const std::chrono::system_clock::time_point time = std::chrono::system_clock::now();
    Done begun;  // empty once it was told
    std::stop_source stop;
    std::atomic<bool> isStoppedByUser = false;
    CaptureProgress progress{request};
    FrameWriter writer;
    Outcome outcome;  // of the camera's part
  };
  using JobPointer = std::shared_ptr<Job>;

  void open(const JobPointer& job);
  void tryCapture(const JobPointer& job);
  void run(Job& job, CaptureContext& context);
  void capture(Job& job, CaptureContext& context);
  void finish(const JobPointer& job, const Outcome& outcome);
  void drop(const JobPointer& job, const Outcome& why);
  void refuse(const JobPointer& job, const Outcome& why);
  void ended(const JobPointer& job, const Outcome& outcome);
  void progressed();

  const std::shared_ptr<ServedCamera> camera_;
  const std::shared_ptr<CaptureFolder> folder_;
  mutable std::mutex mutex_;
  std::condition_variable idle_;
  JobPointer running_;
  std::optional<CaptureState::Last> last_;
  Clock::time_point told_;
  ChangeSignal changed_;
};

void CaptureDesk::Impl::start(CaptureRequest request, std::string who, const Done& done) {
  if (const Outcome fault = faultOf(request)) return done(fault);
  const auto job = std::make_shared<Job>(std::move(request), std::move(who), done);
  {
    std::unique_lock lock(mutex_);
    if (running_) {
      const std::string text = "The capture of " + running_->who + " is not complete yet.";
      lock.unlock();
      return done(failure(Failure::Kind::kBusy, text));
    }
    running_ = job;
  }
  // The disk first: a folder that cannot be written to, or hangs, does not concern the camera.
  job->writer.begin([job, folder = folder_] { return makeFiles(job->request, folder); },
                    {.ready =
                         [self = shared_from_this(), job](const Outcome& outcome) {
                           if (outcome) return self->refuse(job, outcome);
                           self->open(job);
                         },
                     .failed = [job] { job->stop.request_stop(); },
                     .written = [self = shared_from_this()] { self->progressed(); }});
}

void CaptureDesk::Impl::open(const JobPointer& job) {
  camera_->open(User::kCapture, [self = shared_from_this(), job](const Outcome& outcome) {
    if (outcome) return self->drop(job, outcome);
    self->tryCapture(job);
  });
}

void CaptureDesk::Impl::tryCapture(const JobPointer& job) {
  const bool isTaken =
      camera_->tryCapture({.what = job->what + " by " + job->who,
                           .hasOwnSettings = job->request.exposure.has_value(),
                           .run = [self = shared_from_this(),
                                   job](CaptureContext& context) { self->run(*job, context); },
                           .done = [self = shared_from_this(),
                                    job](const Outcome& outcome) { self->finish(job, outcome); }});
  if (isTaken) return;
  const std::string other = camera_->status()->capture;
  drop(job, failure(Failure::Kind::kBusy, other.empty() ? "The camera is in use."
                                                        : "The camera is in use: " + other + "."));
}

void CaptureDesk::Impl::run(Job& job, CaptureContext& context) {
  try {
    capture(job, context);
  } catch (...) {
    job.outcome = currentFailure();
  }
  if (!job.outcome && context.stop().stop_requested()) {
    job.outcome = failure(Failure::Kind::kCancelled, "The camera was closed.");
  }
  if (job.outcome && imaging::wasUnplugged(context.camera())) {
    job.outcome = failure(Failure::Kind::kNotOpen, "The camera was unplugged.");
  }
}

void CaptureDesk::Impl::capture(Job& job, CaptureContext& context) {
  const std::stop_callback stopAsWell(context.stop(), [&job] { job.stop.request_stop(); });
  applySettings(job.request, context);
  camera_->note(job.who, "Capture: " + job.what);
  std::exchange(job.begun, {})({});
  const CaptureRun run{.request = job.request,
                       .context = context,
                       .writer = job.writer,
                       .progress = job.progress,
                       .stop = job.stop.get_token(),
                       .changed = [this] { progressed(); },
                       .note = [this](std::string text) { camera_->note("", std::move(text)); }};
  job.request.kind == CaptureKind::kVideo ? recordVideo(run) : takeImages(run);
}

/// The camera's part is over.
void CaptureDesk::Impl::finish(const JobPointer& job, const Outcome& outcome) {
  if (outcome && !job->outcome) job->outcome = outcome;
  camera_->close(User::kCapture, [](const Outcome&) {});
  job->writer.end([self = shared_from_this(), job](const Outcome& written) {
    self->ended(job, written ? written : job->outcome);
  });
}

/// It cannot begin with the camera: an empty file that was made is removed first.
void CaptureDesk::Impl::drop(const JobPointer& job, const Outcome& why) {
  camera_->close(User::kCapture, [](const Outcome&) {});
  job->writer.end(
      [self = shared_from_this(), job, why](const Outcome&) { self->refuse(job, why); });
}

void CaptureDesk::Impl::refuse(const JobPointer& job, const Outcome& why) {
  {
    const std::scoped_lock lock(mutex_);
    running_.reset();
    idle_.notify_all();
  }
  std::exchange(job->begun, {})(why);
  changed_.tell();
}

void CaptureDesk::Impl::ended(const JobPointer& job, const Outcome& outcome) {
  const bool hasBegun = !job->begun;
  const std::int64_t done = job->writer.progress().frames;
  const Outcome why = job->isStoppedByUser && outcome && outcome->kind == Failure::Kind::kCancelled
                          ? Outcome()
                          : outcome;
  {
    const std::scoped_lock lock(mutex_);
    running_.reset();
    if (hasBegun) {
      last_ = {.what = job->what,
               .done = done,
               .message = why ? std::optional(why->message) : std::nullopt};
    }
    idle_.notify_all();
  }
  if (hasBegun) {
    const std::string unit = job->request.kind == CaptureKind::kVideo ? " frames" : " images";
    camera_->note("", "Captured " + std::to_string(done) + unit +
                          (why ? ". The capture ended early: " + why->message : ""));
  } else {
    std::exchange(job->begun,
                  {})(why ? why : failure(Failure::Kind::kCancelled, "The capture was stopped."));
  }
  changed_.tell();
}

Outcome CaptureDesk::Impl::stop(const std::string& who) {
  JobPointer job;
  {
    const std::scoped_lock lock(mutex_);
    job = running_;
  }
  if (!job) return failure(Failure::Kind::kBadValue, "No capture is running.");
  if (!job->isStoppedByUser.exchange(true)) camera_->note(who, "Capture stopped");
  job->stop.request_stop();
  return {};
}

void CaptureDesk::Impl::stopAndWait() {
  // A disk that hangs does not keep the server from ending.
  constexpr auto kLimit = std::chrono::seconds(30);
  std::unique_lock lock(mutex_);
  const JobPointer job = running_;
  lock.unlock();
  if (!job) return;
  job->stop.request_stop();
  lock.lock();
  idle_.wait_for(lock, kLimit, [this] { return running_ == nullptr; });
}

CaptureState CaptureDesk::Impl::state() const {
  const std::scoped_lock lock(mutex_);
  CaptureState state;
  state.last = last_;
  if (!running_) return state;
  const Job& job = *running_;
  const FrameWriter::Progress written = job.writer.progress();
  const Clock::time_point now = Clock::now();
  state.running = {.what = job.what,
                   .who = job.who,
                   .format = job.request.format,
                   .done = written.frames,
                   .count = job.request.count,
                   .lost = job.progress.lost(),
                   .begun = job.time,
                   .remaining = job.progress.remaining(now),
                   .exposureLeft = job.progress.exposureLeft(now),
                   .bytes = written.bytes,
                   .file = written.file};
  return state;
}

/// Tells of progress, at most a few times a second.
void CaptureDesk::Impl::progressed() {
  constexpr auto kPause = std::chrono::milliseconds(400);
  const Clock::time_point now = Clock::now();
  {
    const std::scoped_lock lock(mutex_);
    if (now - told_ < kPause) return;
    told_ = now;
  }
  changed_.tell();
}

CaptureDesk::CaptureDesk(std::shared_ptr<ServedCamera> camera,
                         std::shared_ptr<CaptureFolder> folder)
    : impl_(std::make_shared<Impl>(std::move(camera), std::move(folder))) {}

CaptureDesk::~CaptureDesk() { impl_->stopAndWait(); }

void CaptureDesk::start(CaptureRequest request, std::string who, const Done& done) {
  impl_->start(std::move(request), std::move(who), done);
}

Outcome CaptureDesk::stop(const std::string& who) { return impl_->stop(who); }

CaptureState CaptureDesk::state() const { return impl_->state(); }

std::shared_ptr<void> CaptureDesk::onChange(std::function<void()> function) {
  return impl_->onChange(std::move(function));
}

}  // namespace orvik::server
