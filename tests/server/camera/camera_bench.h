// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>

#include "integrations/server/camera/fleet.h"
#include "orvik/orvik_sim.h"
#include "support/eventually.h"

namespace orvik::server::test {

using orvik::test::eventually;

/// The outcome of something that takes time.
class Awaited {
 public:
  Done done() {
    return [promise = promise_](const Outcome& outcome) { promise->set_value(outcome); };
  }
  Outcome outcome() {
    if (future_.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
      return Failure{Failure::Kind::kCamera, Orvik_OK, "nothing was told"};
    }
    return future_.get();
  }
  /// "" on success.
  std::string problem() {
    const Outcome outcome = this->outcome();
    return outcome ? outcome->message : "";
  }

 private:
  std::shared_ptr<std::promise<Outcome>> promise_ = std::make_shared<std::promise<Outcome>>();
  std::future<Outcome> future_ = promise_->get_future();
};

/// What a call tells its Done: "" on success.
template <typename Call>
std::string told(Call call) {
  Awaited awaited;
  call(awaited.done());
  return awaited.problem();
}

/// Virtual cameras and a fleet that lends them.
class CameraBench : public ::testing::Test {
 protected:
  ~CameraBench() override {
    fleet_.reset();
    OrvikSimUnplugAll();
  }
  static int plug(const char* model, const char* options) {
    const int id = OrvikSimPlug(model, options);
    EXPECT_GT(id, 0) << OrvikSimLastError();
    return id;
  }
  Fleet& fleet() {
    if (fleet_ == nullptr) fleet_ = std::make_unique<Fleet>();
    return *fleet_;
  }
  std::shared_ptr<ServedCamera> camera(int number = 0) { return fleet().camera(number); }
  std::shared_ptr<ServedCamera> opened(int number = 0) {
    const auto one = camera(number);
    EXPECT_EQ(told([&](Done done) { one->open(User::kPage, done); }), "");
    return one;
  }

  std::unique_ptr<Fleet> fleet_;
};

}  // namespace orvik::server::test
