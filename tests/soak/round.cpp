// SPDX-License-Identifier: MIT
#include "soak/round.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "sim/fault/fault_host.h"
#include "sim/sim_host.h"
#include "soak/camera_callers.h"
#include "soak/random_faults.h"
#include "usb/current_host.h"

namespace orvik::soak {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostCameras = 3;
/// One index more than there can be cameras, so that calls with a missing camera are tested too.
constexpr int kIndices = kMostCameras + 1;

fault::Script scriptOf(const std::string& text) {
  fault::Script script;
  const std::string refusal = fault::parseScript(text, script);
  if (!refusal.empty()) {
    std::fprintf(stderr, "%s: %s\n", text.c_str(), refusal.c_str());
    std::abort();
  }
  return script;
}

/// The models that the library supports, so that most plugged cameras can be opened.
const std::vector<const sim::Model*>& drivenModels() {
  static const auto driven = [] {
    std::vector<const sim::Model*> models;
    const auto host = std::make_shared<sim::SimHost>();
    installHost(host);
    for (const sim::Model& model : sim::models()) {
      host->plug(model);
      Orvik_CAMERA_INFO info;
      if (OrvikGetNumOfConnectedCameras() == 1 && OrvikGetCameraProperty(&info, 0) == Orvik_OK) {
        models.push_back(&model);
      }
      host->unplugAll();
    }
    installHost(nullptr);
    return models;
  }();
  return driven;
}

/// The controlling thread of a round.
class Round {
 public:
  explicit Round(std::uint64_t seed) : random_(seed) {
    drivenModels();
    installHost(faults_);
    for (int n = 1 + random_.below(kMostCameras); n > 0; --n) plug();
    for (int index = 0; index < kIndices; ++index) OrvikOpenCamera(index);
    for (int index = 0; index < kIndices; ++index) {
      callers_.push_back(std::make_unique<CameraCallers>(index, random_.bits()));
    }
  }

  Tally play(Clock::time_point end) {
    Tally tally;
    {
      const Watchdog watchdog(everyone());
      while (Clock::now() < end) act();
      faults_->setScript({});
      for (int index = 0; index < kIndices; ++index) close(index);
      for (const auto& each : callers_) {
        each->end();
        tally.calls += each->conducting().made() + each->fetching().made() + each->tuning().made();
        tally.images += each->images();
      }
    }
    callers_.clear();
    // Only this thread opens cameras, but a camera that was unplugged may be back at its index.
    for (int index = 0; index < kIndices; ++index) OrvikCloseCamera(index);
    cameras_->unplugAll();
    OrvikGetNumOfConnectedCameras();
    installHost(nullptr);
    tally.calls += calls_.made();
    return tally;
  }

 private:
  std::vector<const Calls*> everyone() const {
    std::vector<const Calls*> all = {&calls_};
    for (const auto& each : callers_) {
      all.push_back(&each->conducting());
      all.push_back(&each->fetching());
      all.push_back(&each->tuning());
    }
    return all;
  }

  void plug() {
    const auto& models = drivenModels();
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kGrey;
    options.usb3Port = random_.below(4) != 0;
    options.pace = random_.below(3) == 0 ? sim::Pace::kFree : sim::Pace::kReal;
    options.temperament = randomTemperament();
    const auto which = static_cast<std::size_t>(random_.below(static_cast<int>(models.size())));
    ids_.push_back(cameras_->plug(*models[which], options));
  }

  sim::Temperament randomTemperament() {
    using sim::Temperament;
    return {
        .latch =
            random_.below(2) == 0 ? Temperament::Latch::kFrame : Temperament::Latch::kImmediate,
        .modeChange = random_.below(2) == 0 ? Temperament::ModeChange::kFinish
                                            : Temperament::ModeChange::kCut,
        .clearHalt = random_.below(2) == 0 ? Temperament::ClearHalt::kDiscard
                                           : Temperament::ClearHalt::kKeep,
    };
  }

  void act() {
    const int index = random_.below(kIndices);
    switch (random_.below(10)) {
      case 0:
        if (static_cast<int>(cameras_->cameras().size()) < kMostCameras) plug();
        break;
      case 1:
        if (random_.below(3) == 0) cameras_->unplug(ids_.back());
        break;
      case 2:
      case 3:
        faults_->setScript(scriptOf(randomFaults(random_)));
        break;
      case 4:
        close(index);
        break;
      case 5:
        close(index);
        [[fallthrough]];
      case 6:
      case 7:
        enumerateAndOpen(index);
        break;
      default:
        break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(random_.below(120)));
  }

  void enumerateAndOpen(int index) {
    calls_.make("OrvikGetNumOfConnectedCameras", [] {
      OrvikGetNumOfConnectedCameras();
      return Orvik_OK;
    });
    Orvik_CAMERA_INFO info;
    calls_.make("OrvikGetCameraProperty", [&] { return OrvikGetCameraProperty(&info, index); });
    calls_.make("OrvikOpenCamera", [&] { return OrvikOpenCamera(index); });
  }

  void close(int index) {
    callers_[static_cast<std::size_t>(index)]->whileOutside(
        calls_, [&] { calls_.make("OrvikCloseCamera", [&] { return OrvikCloseCamera(index); }); });
  }

  sim::Random random_;
  const std::shared_ptr<sim::SimHost> cameras_ = std::make_shared<sim::SimHost>();
  const std::shared_ptr<fault::FaultHost> faults_ = std::make_shared<fault::FaultHost>(cameras_);
  std::vector<int> ids_;
  Calls calls_;
  std::vector<std::unique_ptr<CameraCallers>> callers_;
};

}  // namespace

Tally playRound(std::uint64_t seed, std::chrono::milliseconds duration) {
  return Round(seed).play(Clock::now() + duration);
}

}  // namespace orvik::soak
