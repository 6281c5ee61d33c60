#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/http/CurlMulti.h"
#include "core/http/HttpRequest.h"
#include "core/http/HttpSettings.h"
#include "core/http/HttpsUrl.h"
#include "core/http/RemoteFile.h"
#include "core/http/RetryPlan.h"
#include "core/http/TransferPace.h"

namespace Core {

/// A file of a server as its client knows it.
struct ClientFile {
  HttpsUrl url;
  RemoteFile facts{};
  std::optional<std::string> kept{};  ///< the whole file, where the server does not know ranges
  bool isComingWhole = false;         ///< an exchange is about to set kept
};

/// What the exchanges of a client share.
struct ClientState {
  HttpSettings settings;
  HttpsUrl address;
  std::shared_ptr<const HttpClientAuthentication> authentication;  ///< for the address' origin; may be empty
  CurlMulti multi;
  std::uint64_t keptBytes = 0;  ///< of all files

  [[nodiscard]] std::uint64_t leftToKeep() const {
    return settings.keptBytes - std::min(settings.keptBytes, keptBytes);
  }
};

/// Answers a request from what is known of its file, without asking the server; false when that cannot be.
bool answerFromKnown(HttpRequest& request, const ClientFile& file);

/// One request over the line, with its redirects and tries, for one or several joined requests of a file.
/// Requests are answered as soon as their bytes are there. Belongs to the thread of its client.
class HttpExchange final : public TransferSink {
 public:
  using Clock = std::chrono::steady_clock;
  using Requests = std::vector<std::unique_ptr<HttpRequest>>;
  enum class State {
    Running,
    Pausing,  ///< until the next try
    Succeeded,
    FailedPassing,  ///< the server could not be had, and might be had later
    Failed,         ///< for good, or nobody waits any more
    SetAside,       ///< its file is coming whole by another exchange, to be asked again after that
  };

  /// Begins the first try. @p requests are of one file and not empty; several are ranges.
  HttpExchange(ClientState& client, ClientFile& file, Requests requests);
  ~HttpExchange() override;
  HttpExchange(const HttpExchange&) = delete;
  HttpExchange& operator=(const HttpExchange&) = delete;

  [[nodiscard]] State state() const { return state_; }
  [[nodiscard]] bool isOver() const { return state_ != State::Running && state_ != State::Pausing; }
  /// Those that have not been answered.
  [[nodiscard]] Requests takeRequests() { return std::move(requests_); }

  /// Drops what was stopped, ends what takes too long, begins the next try when it is time.
  void check(Clock::time_point now);
  /// When check has something to do without anything else happening.
  [[nodiscard]] Clock::time_point nextCheck(Clock::time_point now) const;

  /// Fails whoever still waits.
  void fail(const std::exception_ptr& error);

  bool head(const HttpHead& head) override;
  bool body(std::span<const char> bytes) override;
  void ended(TransferEnd end, const std::string& reason) override;

 private:
  [[nodiscard]] bool wantsRange() const { return range_.count != 0; }
  [[nodiscard]] ByteRange missing() const;
  void begin(const HttpsUrl& url);
  void cut();
  void leaveWhole();
  void follow(const HttpHead& head);
  void complete();
  void deliverWhatIsThere();
  void keepWhole();
  void tryAgain(RetryPlan::Failure failure, const std::string& reason);
  void refuse(const std::string& reason);
  [[nodiscard]] std::exception_ptr error(const HttpRequest& request, const std::string& reason) const;

  ClientState& client_;
  ClientFile& file_;
  Requests requests_;
  ByteRange range_;  // of all requests; of no bytes when the whole file is wanted
  State state_ = State::Running;
  RetryPlan plan_;
  Clock::time_point nextTry_{};  // while pausing

  // Of the try that is under way.
  std::optional<CurlMulti::Id> transfer_;
  HttpsUrl url_;
  unsigned redirects_ = 0;
  std::vector<std::string> visited_;
  TransferPace pace_;
  std::optional<Answer> answer_;
  HttpHead head_;
  std::uint64_t skipped_ = 0;  // of a body that is of no use
  bool bringsWhole_ = false;   // it has set isComingWhole

  std::string body_;  // from the range's beginning on; what broken tries brought of a range stays
};

}  // namespace Core
