// SPDX-License-Identifier: MIT
/// Buffers that a benchmark writes, and a check that it writes all of them. A case that moves fewer
/// bytes than it says would look fast; the check makes it fail instead.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace orvik::bench {

/// Memory that the cases of the calling thread write. It must stay where it is made, as a lambda's
/// captures do that are made in place.
class Written {
 public:
  Written() { all().push_back(this); }
  Written(const Written&) = delete;
  Written& operator=(const Written&) = delete;
  virtual ~Written() { std::erase(all(), this); }

  /// Called before the first of two calls of the case, and between them.
  virtual void prepare(int call) = 0;
  /// Called after both.
  /// @return what has not been written; "" if nothing
  virtual std::string fault() = 0;
  /// Bytes that the check covers.
  [[nodiscard]] virtual std::size_t checkedBytes() = 0;

  /// Calls the function to measure twice, and looks at what it has written.
  /// @param checked receives the number of bytes that were looked at
  /// @return "" or what is wrong
  template <typename Run>
  static std::string check(Run& run, std::size_t& checked) {
    for (int call = 0; call < 2; ++call) {
      for (Written* const each : all()) each->prepare(call);
      run();
    }
    checked = 0;
    for (Written* const each : all()) {
      checked += each->checkedBytes();
      if (const std::string fault = each->fault(); !fault.empty()) return fault;
    }
    return {};
  }

 private:
  static std::vector<Written*>& all() {
    thread_local std::vector<Written*> made;
    return made;
  }
};

/// Memory of which every call must write each byte, regardless of what was in it.
class WrittenWhole : public Written {
 public:
  void prepare(int call) override {
    const std::span<std::uint8_t> now = bytes();
    if (call == 1) first_.assign(now.begin(), now.end());
    if (!now.empty()) std::memset(now.data(), call == 0 ? 0 : 0xFF, now.size());
  }

  // The two calls began with different bytes: where the results differ, nothing was written.
  std::string fault() override {
    const std::span<std::uint8_t> now = bytes();
    // An output that the case allocates itself is empty before its first call.
    if (now.empty()) return "no output";
    if (first_.size() != now.size()) return "the size of the output changes";
    const auto [differs, other] = std::ranges::mismatch(now, first_);
    const auto place = differs - now.begin();
    std::vector<std::uint8_t>().swap(first_);
    if (differs == now.end()) return {};
    return "byte " + std::to_string(place) + " of the output is not written";
  }

  [[nodiscard]] std::size_t checkedBytes() override { return bytes().size(); }

 protected:
  virtual std::span<std::uint8_t> bytes() = 0;

 private:
  std::vector<std::uint8_t> first_;
};

/// The output of a kernel, as a vector of samples.
template <typename Sample>
class Output final : public WrittenWhole {
 public:
  explicit Output(std::size_t count) : samples_(count) {}
  [[nodiscard]] Sample* data() { return samples_.data(); }

 private:
  std::span<std::uint8_t> bytes() override {
    return {reinterpret_cast<std::uint8_t*>(samples_.data()), samples_.size() * sizeof(Sample)};
  }
  std::vector<Sample> samples_;
};

/// A frame that a kernel works on in place. Each block of it must change.
template <typename Sample>
class InPlace final : public Written {
 public:
  /// Bytes: large enough that a block of an image never stays the same by chance.
  static constexpr std::size_t kBlock = 4096;

  /// @param share of the frame that changes: 1/4 for a result of half the width and height
  /// @param block for kernels that change only a few pixels
  explicit InPlace(const std::vector<Sample>& frame, double share = 1, std::size_t block = kBlock)
      : samples_(frame), share_(share), block_(block) {}
  [[nodiscard]] Sample* data() { return samples_.data(); }
  [[nodiscard]] std::span<Sample> all() { return samples_; }

  void prepare(int call) override {
    if (call == 0) before_ = samples_;
    if (call == 1) fault_ = unchanged();
  }
  std::string fault() override { return fault_; }
  [[nodiscard]] std::size_t checkedBytes() override {
    const double bytes = share_ * static_cast<double>(samples_.size() * sizeof(Sample));
    return static_cast<std::size_t>(bytes) / block_ * block_;
  }

 private:
  std::string unchanged() {
    const auto* const now = reinterpret_cast<const std::uint8_t*>(samples_.data());
    const auto* const then = reinterpret_cast<const std::uint8_t*>(before_.data());
    std::size_t same = 0;
    const std::size_t end = checkedBytes();
    while (same < end && std::memcmp(now + same, then + same, block_) != 0) same += block_;
    std::vector<Sample>().swap(before_);
    if (same >= end) return {};
    return "the frame is unchanged at byte " + std::to_string(same);
  }

  std::vector<Sample> samples_;
  std::vector<Sample> before_;
  double share_;
  std::size_t block_;
  std::string fault_;
};

}  // namespace orvik::bench
