#include "core/http/HttpClient.h"

#include <algorithm>
#include <csignal>
#include <deque>
#include <iterator>
#include <list>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "core/Futures.h"
#include "core/http/HttpError.h"
#include "core/http/HttpExchange.h"
#include "core/http/RangeQueue.h"

namespace Core {
namespace {

using Clock = HttpClient::Clock;
using Kind = HttpRequest::Kind;
using RequestPtr = std::unique_ptr<HttpRequest>;

/// Signals are for the threads of the program. libcurl's writes to a closed connection raise one, too.
void blockSignals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

std::shared_ptr<const HttpClientAuthentication> credentialsOf(const HttpsUrl& address) {
  if (address.user().empty() && address.password().empty()) return nullptr;
  return std::make_shared<HttpClientAuthentication>(
      HttpClientAuthentication{.user = address.user(), .password = address.password()});
}

}  // namespace

/// The queue, and the thread that makes exchanges of it.
class HttpClient::Impl {
 public:
  Impl(const HttpsUrl& address, std::shared_ptr<const HttpClientAuthentication> authentication,
       const HttpSettings& settings)
      : state_{.settings = settings,
               .address = address,
               .authentication = authentication ? std::move(authentication) : credentialsOf(address),
               .multi = CurlMulti(settings.parallelRequests)} {}
  ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  void add(RequestPtr request);

 private:
  void run(const std::stop_token& stopToken);
  void step();
  void takeAdded();
  void checkExchanges(Clock::time_point now);
  void startQueued(Clock::time_point now);
  [[nodiscard]] bool mayBegin(const HttpRequest& request, const ClientFile& wanted,
                              Clock::time_point now) const;
  [[nodiscard]] HttpExchange::Requests takeJoinable(std::size_t place);
  [[nodiscard]] Clock::time_point nextEvent(Clock::time_point now) const;
  void note(HttpExchange& exchange, Clock::time_point now);
  void failQueue(const std::string& reason);
  void failAll(const std::exception_ptr& error);
  ClientFile& file(const std::string& name);

  std::mutex mutex_;
  std::deque<RequestPtr> added_;  // guarded by mutex_

  // Of the thread alone.
  ClientState state_;
  std::map<std::string, ClientFile> files_;
  std::deque<RequestPtr> queue_;
  std::list<HttpExchange> exchanges_;
  unsigned failuresInRow_ = 0;
  Clock::time_point restUntil_{};

  std::jthread thread_;  // started under mutex_; last, so that it ends before the rest goes
};

HttpClient::Impl::~Impl() {
  thread_.request_stop();
  state_.multi.wake();
  if (thread_.joinable()) thread_.join();
}

void HttpClient::Impl::add(RequestPtr request) {
  request->arrival = Clock::now();
  request->whenStopped([this] { state_.multi.wake(); });
  {
    const std::lock_guard lock(mutex_);
    added_.push_back(std::move(request));
    if (!thread_.joinable()) {
      thread_ = std::jthread([this](const std::stop_token& stopToken) { run(stopToken); });
    }
  }
  state_.multi.wake();
}

void HttpClient::Impl::run(const std::stop_token& stopToken) {
  blockSignals();
  while (!stopToken.stop_requested()) {
    try {
      step();
    } catch (...) {  // memory is short: whoever waits must not wait for ever
      failAll(std::current_exception());
    }
  }
  takeAdded();
  failAll(std::make_exception_ptr(HttpError(printableUrl(state_.address.text()) + ": closed", 0)));
}

void HttpClient::Impl::step() {
  takeAdded();
  Clock::time_point now = Clock::now();
  checkExchanges(now);
  startQueued(now);
  now = Clock::now();
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(nextEvent(now) - now);
  state_.multi.perform(std::clamp(wait, std::chrono::milliseconds(0), std::chrono::milliseconds(60'000)));
}

void HttpClient::Impl::takeAdded() {
  const std::lock_guard lock(mutex_);
  std::move(added_.begin(), added_.end(), std::back_inserter(queue_));
  added_.clear();
}

void HttpClient::Impl::checkExchanges(Clock::time_point now) {
  for (auto exchange = exchanges_.begin(); exchange != exchanges_.end();) {
    if (!exchange->isOver()) exchange->check(now);
    if (exchange->isOver()) {
      note(*exchange, now);
      exchange = exchanges_.erase(exchange);
    } else {
      ++exchange;
    }
  }
}

void HttpClient::Impl::note(HttpExchange& exchange, Clock::time_point now) {
  using State = HttpExchange::State;
  if (exchange.state() == State::Succeeded) failuresInRow_ = 0;
  if (exchange.state() == State::FailedPassing && ++failuresInRow_ >= state_.settings.failuresBeforeRest) {
    restUntil_ = now + state_.settings.restTime;
  }
  HttpExchange::Requests unanswered = exchange.takeRequests();
  queue_.insert(queue_.begin(), std::make_move_iterator(unanswered.begin()),
                std::make_move_iterator(unanswered.end()));
}

/// Whether neighbours have had time to come, and the file is not about to come whole.
bool HttpClient::Impl::mayBegin(const HttpRequest& request, const ClientFile& wanted,
                                Clock::time_point now) const {
  if (request.kind() == Kind::Whole) return true;
  if (wanted.isComingWhole) return false;
  return request.kind() == Kind::Size || now >= request.arrival + state_.settings.gatherTime;
}

void HttpClient::Impl::startQueued(Clock::time_point now) {
  for (std::size_t place = 0; place < queue_.size();) {
    HttpRequest& request = *queue_[place];
    ClientFile& wanted = file(request.name());
    const auto drop = [&] { queue_.erase(queue_.begin() + static_cast<std::ptrdiff_t>(place)); };
    const bool isLate = request.deadline && *request.deadline <= now;
    if (request.isStopped() || isLate) {
      request.fail(std::make_exception_ptr(
          HttpError(printableUrl(wanted.url.text()) + (isLate ? ": no answer in time" : ": stopped"), 0)));
      drop();
    } else if (answerFromKnown(request, wanted)) {
      drop();
    } else if (now < restUntil_) {
      return failQueue("not asked, since " + std::to_string(failuresInRow_) +
                       " requests in a row failed: the server is left alone for " +
                       std::to_string(state_.settings.restTime.count()) + " ms");
    } else if (exchanges_.size() < state_.settings.parallelRequests && mayBegin(request, wanted, now)) {
      exchanges_.emplace_back(state_, wanted, takeJoinable(place));
      place = 0;  // what lies before may be gone, too
    } else {
      ++place;
    }
  }
}

/// Takes the request at that place out of the queue, and the ranges of the same file that go with it.
HttpExchange::Requests HttpClient::Impl::takeJoinable(std::size_t place) {
  HttpExchange::Requests taken;
  const auto isRange = [](const RequestPtr& request) { return request->kind() == Kind::Range; };
  if (!isRange(queue_[place])) {
    taken.push_back(std::move(queue_[place]));
    queue_.erase(queue_.begin() + static_cast<std::ptrdiff_t>(place));
    return taken;
  }
  std::vector<std::size_t> places{place};
  for (std::size_t other = 0; other < queue_.size(); ++other) {
    if (other != place && isRange(queue_[other]) && queue_[other]->name() == queue_[place]->name())
      places.push_back(other);
  }
  std::vector<ByteRange> ranges;
  ranges.reserve(places.size());
  for (const std::size_t at : places) ranges.push_back(queue_[at]->range());
  for (const std::size_t chosen : joinable(ranges, state_.settings.largestGap, state_.settings.largestJoined))
    taken.push_back(std::move(queue_[places[chosen]]));
  queue_.erase(std::remove(queue_.begin(), queue_.end(), nullptr), queue_.end());
  return taken;
}

Clock::time_point HttpClient::Impl::nextEvent(Clock::time_point now) const {
  Clock::time_point next = now + std::chrono::hours(1);
  for (const HttpExchange& exchange : exchanges_) {
    next = std::min(next, exchange.isOver() ? now : exchange.nextCheck(now));
  }
  for (const RequestPtr& request : queue_) {
    const Clock::time_point gathered = request->arrival + state_.settings.gatherTime;
    if (gathered > now) next = std::min(next, gathered);
    if (request->deadline) next = std::min(next, *request->deadline);
  }
  return next;
}

void HttpClient::Impl::failQueue(const std::string& reason) {
  for (const RequestPtr& request : queue_) {
    request->fail(std::make_exception_ptr(
        HttpError(printableUrl(file(request->name()).url.text()) + ": " + reason, 0)));
  }
  queue_.clear();
}

void HttpClient::Impl::failAll(const std::exception_ptr& error) {
  for (const RequestPtr& request : queue_) request->fail(error);
  queue_.clear();
  for (HttpExchange& exchange : exchanges_) exchange.fail(error);
  exchanges_.clear();
}

ClientFile& HttpClient::Impl::file(const std::string& name) {
  const auto found = files_.find(name);
  if (found != files_.end()) return found->second;
  return files_.emplace(name, ClientFile{.url = state_.address.file(name)}).first->second;
}

HttpClient::HttpClient(std::string_view address,
                       std::shared_ptr<const HttpClientAuthentication> authentication,
                       const HttpSettings& settings)
    : authentication_(std::move(authentication)), settings_(settings) {
  try {
    address_.emplace(address);
  } catch (const std::exception& error) {
    badAddress_ = std::make_exception_ptr(HttpError(error.what(), 0));
  }
}

HttpClient::~HttpClient() = default;

HttpClient::Impl& HttpClient::impl() {
  const std::lock_guard lock(mutex_);
  if (!impl_) impl_ = std::make_unique<Impl>(*address_, authentication_, settings_);
  return *impl_;
}

std::future<std::string> HttpClient::fetchRange(const std::string& name, std::uint64_t byteOffset,
                                                std::uint64_t byteCount, std::stop_token stopToken) {
  if (byteCount == 0) return readyFuture(std::string());
  if (badAddress_) return failedFuture<std::string>(badAddress_);
  if (byteCount > UINT64_MAX - byteOffset) {
    const std::string text = printableUrl(address_->file(name).text()) + ", byte " +
                             std::to_string(byteOffset) + ": the range of " + std::to_string(byteCount) +
                             " bytes leaves any file";
    return failedFuture<std::string>(std::make_exception_ptr(HttpError(text, 0)));
  }
  auto request = std::make_unique<HttpRequest>(Kind::Range, name, ByteRange{byteOffset, byteCount},
                                               std::move(stopToken));
  std::future<std::string> bytes = request->bytesFuture();
  impl().add(std::move(request));
  return bytes;
}

std::future<std::string> HttpClient::fetchWhole(const std::string& name, std::stop_token stopToken,
                                                std::optional<Clock::time_point> deadline) {
  if (badAddress_) return failedFuture<std::string>(badAddress_);
  auto request = std::make_unique<HttpRequest>(Kind::Whole, name, ByteRange{}, std::move(stopToken));
  request->deadline = deadline;
  std::future<std::string> bytes = request->bytesFuture();
  impl().add(std::move(request));
  return bytes;
}

std::future<std::uint64_t> HttpClient::fetchSize(const std::string& name, std::stop_token stopToken) {
  if (badAddress_) return failedFuture<std::uint64_t>(badAddress_);
  // The total that comes with a byte, since an address that is signed for GET does not allow HEAD.
  auto request = std::make_unique<HttpRequest>(Kind::Size, name, ByteRange{0, 1}, std::move(stopToken));
  std::future<std::uint64_t> size = request->sizeFuture();
  impl().add(std::move(request));
  return size;
}

}  // namespace Core
