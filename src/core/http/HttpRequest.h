#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <variant>

#include "core/http/RemoteFile.h"

namespace Core {

/// What somebody waits for: bytes of a file, or its size. Answered once, by deliver or fail.
class HttpRequest {
 public:
  using Clock = std::chrono::steady_clock;
  enum class Kind { Range, Whole, Size };

  HttpRequest(Kind kind, std::string name, ByteRange range, std::stop_token stopToken)
      : kind_(kind), name_(std::move(name)), range_(range), stopToken_(std::move(stopToken)) {
    if (kind == Kind::Size) promise_.emplace<std::promise<std::uint64_t>>();
  }

  [[nodiscard]] Kind kind() const { return kind_; }
  [[nodiscard]] const std::string& name() const { return name_; }
  /// Of Size: a byte, whose answer tells the size. Not of Whole.
  [[nodiscard]] const ByteRange& range() const { return range_; }
  [[nodiscard]] bool isStopped() const { return stopToken_.stop_requested(); }

  /// Of a kind other than Size.
  [[nodiscard]] std::future<std::string> bytesFuture() {
    return std::get<std::promise<std::string>>(promise_).get_future();
  }
  [[nodiscard]] std::future<std::uint64_t> sizeFuture() {
    return std::get<std::promise<std::uint64_t>>(promise_).get_future();
  }

  /// Has @p wake called when a stop is requested, possibly at once, by whatever thread requests it.
  void whenStopped(std::function<void()> wake) { stopCallback_.emplace(stopToken_, std::move(wake)); }

  void deliver(std::string bytes) {
    std::get<std::promise<std::string>>(promise_).set_value(std::move(bytes));
  }
  void deliverSize(std::uint64_t size) { std::get<std::promise<std::uint64_t>>(promise_).set_value(size); }
  void fail(const std::exception_ptr& error) {
    std::visit([&](auto& promise) { promise.set_exception(error); }, promise_);
  }

  /// When it came, and until when it may take; with a limit there is one try.
  Clock::time_point arrival{};
  std::optional<Clock::time_point> deadline{};

 private:
  Kind kind_;
  std::string name_;
  ByteRange range_;
  std::stop_token stopToken_;
  std::variant<std::promise<std::string>, std::promise<std::uint64_t>> promise_;
  std::optional<std::stop_callback<std::function<void()>>> stopCallback_;
};

}  // namespace Core
