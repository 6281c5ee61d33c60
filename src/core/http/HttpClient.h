#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "core/http/HttpClientAuthentication.h"
#include "core/http/HttpSettings.h"
#include "core/http/HttpsUrl.h"

namespace Core {

/// Fetches files below one https address: ranges of them, whole ones, and their sizes. Neighbouring ranges
/// that wait together become one request; what fails in passing is tried again; answers that are not what was
/// asked for are errors, never bytes. A file that changes between two answers is an error, too: whoever wants
/// the new version makes a new client. See docs/https.md.
///
/// All futures are fulfilled by the one thread that does the transfers; it starts with the first request.
/// They hold HttpError, naming the address without its query, when a request failed; so does every future
/// that the destructor finds open, and, within 100 ms, one whose stop was requested. Threads: all calls are
/// safe together.
class HttpClient {
 public:
  using Clock = std::chrono::steady_clock;

  /// Makes no request. An address that cannot be used fails every request.
  /// @param authentication  may be empty; user and password of the address do then.
  HttpClient(std::string_view address, std::shared_ptr<const HttpClientAuthentication> authentication,
             const HttpSettings& settings);
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  /// @p byteCount bytes from @p byteOffset on of the file @p name below the address (empty: the address
  /// itself). No bytes are no request. A range that leaves the file fails.
  [[nodiscard]] std::future<std::string> fetchRange(const std::string& name, std::uint64_t byteOffset,
                                                    std::uint64_t byteCount, std::stop_token stopToken);
  /// The whole file, of at most HttpSettings::largestWholeFile.
  /// @param deadline  when given, there is one try, and it ends then.
  [[nodiscard]] std::future<std::string> fetchWhole(const std::string& name, std::stop_token stopToken,
                                                    std::optional<Clock::time_point> deadline = {});
  [[nodiscard]] std::future<std::uint64_t> fetchSize(const std::string& name, std::stop_token stopToken);

 private:
  class Impl;
  Impl& impl();

  std::optional<HttpsUrl> address_;  // empty when it cannot be used
  std::exception_ptr badAddress_;
  std::shared_ptr<const HttpClientAuthentication> authentication_;
  HttpSettings settings_;
  std::mutex mutex_;
  std::unique_ptr<Impl> impl_;  // made under mutex_ by the first request; last, as its thread ends first
};

}  // namespace Core
