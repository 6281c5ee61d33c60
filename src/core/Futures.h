#pragma once

#include <chrono>
#include <exception>
#include <future>
#include <string>
#include <utility>

namespace Core {

/// How a request ended, for callbacks that are told instead of waiting for a future.
struct RequestResult {
  bool succeeded = false;
  std::string message;  ///< why it failed; empty after success
};

template <class T>
[[nodiscard]] std::future<T> readyFuture(T value) {
  std::promise<T> promise;
  promise.set_value(std::move(value));
  return promise.get_future();
}

template <class T>
[[nodiscard]] std::future<T> failedFuture(std::exception_ptr error) {
  std::promise<T> promise;
  promise.set_exception(std::move(error));
  return promise.get_future();
}

/// Whether get() would not wait.
template <class T>
[[nodiscard]] bool isReady(const std::future<T>& future) {
  return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

/// The result of @p call as a future that is ready at once, an exception included.
template <class Call>
[[nodiscard]] auto callNow(Call&& call) -> std::future<decltype(call())> {
  try {
    return readyFuture(call());
  } catch (...) {
    return failedFuture<decltype(call())>(std::current_exception());
  }
}

}  // namespace Core
