// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "integrations/server/http/web_socket.h"

namespace orvik::server::test {

using Json = nlohmann::json;

/// The line to a browser, as a session sees it.
class FakeSocket final : public WebSocket {
 public:
  void sendText(std::string text) override {
    const std::scoped_lock lock(mutex_);
    texts_.push_back(Json::parse(text));
    changed_.notify_all();
  }
  void sendBinary(std::string head, std::shared_ptr<const std::string> bytes) override {
    const std::scoped_lock lock(mutex_);
    heads_.push_back(std::move(head));
    EXPECT_EQ(bytes->substr(0, 3), "\xFF\xD8\xFF");
    changed_.notify_all();
  }
  [[nodiscard]] std::size_t waiting() const override { return queued; }
  void close() override {}

  /// Waits for a message, beginning with those that were not waited for yet.
  /// @return null if there is none in time
  Json next(const std::string& type, const std::function<bool(const Json&)>& suits) {
    std::unique_lock lock(mutex_);
    std::size_t& from = looked_[type];
    Json found;
    changed_.wait_for(lock, std::chrono::seconds(20), [&] {
      for (; from < texts_.size(); ++from) {
        if (texts_[from]["type"] != type || !suits(texts_[from])) continue;
        found = texts_[from++];
        return true;
      }
      return false;
    });
    return found;
  }
  Json next(const std::string& type) {
    return next(type, [](const Json&) { return true; });
  }
  /// Waits for so many pictures. @return the head of the last one
  std::string picture(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(20), [&] { return heads_.size() >= count; });
    return heads_.size() < count ? std::string(32, '\0') : heads_.back();
  }
  std::vector<Json> texts() {
    const std::scoped_lock lock(mutex_);
    return texts_;
  }

  std::atomic<std::size_t> queued = 0;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Json> texts_;
  std::vector<std::string> heads_;
  std::map<std::string, std::size_t> looked_;
};

}  // namespace orvik::server::test
