#include "core/http/HttpExchange.h"

#include <algorithm>
#include <utility>

#include "core/http/HttpError.h"

namespace Core {
namespace {

using Kind = Answer::Kind;
using RequestKind = HttpRequest::Kind;

// A short body of no use is read, so that its connection can be used again.
constexpr std::uint64_t kMostSkipped = std::uint64_t{64} << 10U;

std::string leavesFile(std::uint64_t size) {
  return "the range leaves the file of " + std::to_string(size) + " bytes";
}

std::exception_ptr errorOf(const HttpRequest& request, const ClientFile& file, const std::string& reason,
                           int status) {
  std::string text = printableUrl(file.url.text());
  if (request.kind() == RequestKind::Range) text += ", byte " + std::to_string(request.range().offset);
  return std::make_exception_ptr(HttpError(text + ": " + reason, status));
}

ByteRange unitedRange(const HttpExchange::Requests& requests) {
  if (requests.front()->kind() == RequestKind::Whole) return {};
  std::uint64_t begin = UINT64_MAX;
  std::uint64_t end = 0;
  for (const auto& request : requests) {
    begin = std::min(begin, request->range().offset);
    end = std::max(end, request->range().end());
  }
  return {begin, end - begin};
}

}  // namespace

bool answerFromKnown(HttpRequest& request, const ClientFile& file) {
  const std::optional<std::uint64_t>& size = file.facts.size;
  if (request.kind() == RequestKind::Whole || !size) return false;
  if (request.kind() == RequestKind::Size) {
    request.deliverSize(*size);
  } else if (request.range().end() > *size) {
    request.fail(errorOf(request, file, leavesFile(*size), 0));
  } else if (file.kept) {
    request.deliver(file.kept->substr(request.range().offset, request.range().count));
  } else {
    return false;
  }
  return true;
}

HttpExchange::HttpExchange(ClientState& client, ClientFile& file, Requests requests)
    : client_(client),
      file_(file),
      requests_(std::move(requests)),
      range_(unitedRange(requests_)),
      plan_(client.settings, requests_.front()->deadline ? 1 : client.settings.tries),
      url_(file.url),
      pace_(Clock::now(), client.settings.slowestBytesPerSecond) {
  begin(file.url);
}

HttpExchange::~HttpExchange() { cut(); }

/// What the next try asks for.
ByteRange HttpExchange::missing() const {
  return {range_.offset + body_.size(), range_.count - body_.size()};
}

void HttpExchange::begin(const HttpsUrl& url) {
  const ByteRange asked = missing();
  Transfer transfer{.url = url.text(), .connectTimeout = client_.settings.connectTimeout};
  if (wantsRange()) {
    transfer.range = std::to_string(asked.offset) + '-' + std::to_string(asked.end() - 1);
    transfer.ifRange = file_.facts.ifRange();
  }
  if (url.hasSameOrigin(client_.address)) transfer.authentication = client_.authentication;
  url_ = url;
  visited_.push_back(url.text());
  answer_.reset();
  head_ = {};
  skipped_ = 0;
  state_ = State::Running;
  transfer_ = client_.multi.start(transfer, *this);
}

/// Leaves the transfer, if there is one.
void HttpExchange::cut() {
  if (transfer_) client_.multi.cancel(*std::exchange(transfer_, std::nullopt));
  leaveWhole();
}

/// A whole file that comes instead of a range comes no more.
void HttpExchange::leaveWhole() {
  if (!std::exchange(bringsWhole_, false)) return;
  file_.isComingWhole = false;
  body_.clear();
}

bool HttpExchange::head(const HttpHead& head) {
  head_ = head;
  const AnswerLimits limits{client_.settings.largestWholeFile, client_.leftToKeep()};
  const std::optional<ByteRange> asked = wantsRange() ? std::optional(missing()) : std::nullopt;
  Answer answer = judgeAnswer(head, asked, file_.facts, limits);
  if (answer.kind == Kind::Whole && wantsRange() && file_.isComingWhole) {
    state_ = State::SetAside;
    return false;
  }
  answer_ = std::move(answer);
  if (answer_->kind == Kind::Range || answer_->kind == Kind::Whole) {
    file_.facts.learn(head, answer_->fileSize);
    if (answer_->kind == Kind::Range) {
      body_.reserve(body_.size() + std::min(answer_->bodySize, client_.settings.largestJoined));
    } else {
      body_.clear();
      bringsWhole_ = wantsRange();
      if (bringsWhole_) file_.isComingWhole = true;
    }
    return true;
  }
  return head.contentLength.value_or(0) <= kMostSkipped;
}

bool HttpExchange::body(std::span<const char> bytes) {
  pace_.received(Clock::now(), bytes.size());
  if (!answer_) return false;
  if (answer_->kind == Kind::Range) {
    if (bytes.size() > answer_->bodySize) {
      *answer_ = {.kind = Kind::Wrong, .reason = "the body is longer than the range"};
      return false;
    }
    answer_->bodySize -= bytes.size();
    body_.append(bytes.data(), bytes.size());
    deliverWhatIsThere();
    return true;
  }
  if (answer_->kind == Kind::Whole) {
    const std::uint64_t most = wantsRange() ? client_.leftToKeep() : client_.settings.largestWholeFile;
    if (body_.size() + bytes.size() > most) {
      leaveWhole();
      *answer_ = {
          .kind = Kind::Refused,
          .reason = (wantsRange() ? "server ignores Range: it has no range support, and the whole file"
                                  : std::string("the file")) +
                    " is larger than " + std::to_string(most) + " bytes"};
      return false;
    }
    body_.append(bytes.data(), bytes.size());
    return true;
  }
  skipped_ += bytes.size();
  return skipped_ <= kMostSkipped;
}

void HttpExchange::ended(TransferEnd end, const std::string& reason) {
  transfer_.reset();
  if (state_ == State::SetAside) return;
  if (!answer_) {
    const bool unresolved = end == TransferEnd::Unresolved;
    tryAgain(unresolved                   ? RetryPlan::Failure::Unresolved
             : end == TransferEnd::Failed ? RetryPlan::Failure::Final
                                          : RetryPlan::Failure::Passing,
             end == TransferEnd::Complete ? "no answer" : reason);
    return;
  }
  switch (answer_->kind) {
    case Kind::Range:
      if (answer_->bodySize == 0) return complete();
      return tryAgain(RetryPlan::Failure::Passing,
                      end == TransferEnd::Complete ? "the body is shorter than the range" : reason);
    case Kind::Whole:
      if (end == TransferEnd::Complete) return complete();
      leaveWhole();
      body_.clear();
      return tryAgain(end == TransferEnd::Failed ? RetryPlan::Failure::Final : RetryPlan::Failure::Passing,
                      reason);
    case Kind::Redirect:
      return follow(head_);
    case Kind::Busy:
      return tryAgain(RetryPlan::Failure::Passing, answer_->reason);
    case Kind::Wrong:
      return tryAgain(RetryPlan::Failure::Wrong, answer_->reason);
    case Kind::Refused:
      return refuse(answer_->reason);
  }
}

void HttpExchange::follow(const HttpHead& head) {
  try {
    const HttpsUrl target = url_.redirected(head.location);
    if (std::find(visited_.begin(), visited_.end(), target.text()) != visited_.end()) {
      return tryAgain(RetryPlan::Failure::Final, "redirects in a loop, by " + printableUrl(target.text()));
    }
    if (redirects_++ == client_.settings.redirects) {
      return tryAgain(RetryPlan::Failure::Final,
                      "more than " + std::to_string(client_.settings.redirects) + " redirects");
    }
    begin(target);
  } catch (const std::exception& refused) {
    tryAgain(RetryPlan::Failure::Final, std::string("redirect refused: ") + refused.what());
  }
}

/// The whole answer is there.
void HttpExchange::complete() {
  if (answer_->kind == Kind::Whole && wantsRange()) keepWhole();
  state_ = State::Succeeded;
  if (!wantsRange()) {
    for (const auto& request : requests_) request->deliver(std::move(body_));
    requests_.clear();
    return;
  }
  // The server's last bytes have come: what is not answered now has no bytes, or wants the size.
  for (const auto& request : requests_) {
    if (!answerFromKnown(*request, file_))
      request->fail(error(*request, "the server does not tell the size of the file"));
  }
  requests_.clear();
}

void HttpExchange::keepWhole() {
  file_.facts.size = body_.size();
  client_.keptBytes += body_.size();
  file_.kept = std::move(body_);
  leaveWhole();
}

/// Answers the requests whose bytes have all come.
void HttpExchange::deliverWhatIsThere() {
  const std::uint64_t end = range_.offset + body_.size();
  const auto isWaiting = [&](const std::unique_ptr<HttpRequest>& request) {
    if (request->kind() != RequestKind::Range || request->range().end() > end) return true;
    const bool isAll = request->range() == range_ && requests_.size() == 1;
    request->deliver(isAll ? std::move(body_)
                           : body_.substr(request->range().offset - range_.offset, request->range().count));
    return false;
  };
  requests_.erase(std::stable_partition(requests_.begin(), requests_.end(), isWaiting), requests_.end());
}

void HttpExchange::tryAgain(RetryPlan::Failure failure, const std::string& reason) {
  const auto retryAfter = parseRetryAfter(head_.retryAfter, std::chrono::system_clock::now());
  const Clock::time_point now = Clock::now();
  const auto pause = plan_.pauseAfter(failure, reason, pace_.waited(now), retryAfter);
  if (!pause) {
    refuse(plan_.history());
    if (plan_.endedPassing()) state_ = State::FailedPassing;
    return;
  }
  state_ = State::Pausing;
  nextTry_ = now + *pause;
}

/// Fails all that wait, except for the size of a file that a refusal tells.
void HttpExchange::refuse(const std::string& reason) {
  state_ = State::Failed;
  if (answer_ && answer_->fileSize) file_.facts.size = answer_->fileSize;
  for (const auto& request : requests_) {
    if (request->kind() == RequestKind::Size && answerFromKnown(*request, file_)) continue;
    request->fail(error(*request, reason));
  }
  requests_.clear();
}

void HttpExchange::fail(const std::exception_ptr& error) {
  cut();
  for (const auto& request : requests_) request->fail(error);
  requests_.clear();
  state_ = State::Failed;
}

void HttpExchange::check(Clock::time_point now) {
  const auto isWaiting = [&](const std::unique_ptr<HttpRequest>& request) {
    if (!request->isStopped()) return true;
    request->fail(error(*request, "stopped"));
    return false;
  };
  requests_.erase(std::stable_partition(requests_.begin(), requests_.end(), isWaiting), requests_.end());
  if (requests_
          .empty()) {  // stopped, or answered: then the connection ends in good order and can be used again
    const bool isAllThere = answer_ && answer_->kind == Kind::Range && answer_->bodySize == 0;
    if (isAllThere && pace_.behind(now) < client_.settings.stallTime) return;
    cut();
    state_ = isAllThere ? State::Succeeded : State::Failed;
    return;
  }
  const std::optional<Clock::time_point>& deadline = requests_.front()->deadline;
  if (deadline && *deadline <= now) {
    cut();
    return tryAgain(RetryPlan::Failure::Final, "no answer in time");
  }
  if (state_ == State::Pausing) {
    if (nextTry_ > now) return;
    pace_ = TransferPace(now, client_.settings.slowestBytesPerSecond);
    visited_.clear();
    redirects_ = 0;
    return begin(file_.url);
  }
  if (pace_.behind(now) >= client_.settings.stallTime || pace_.waited(now) >= plan_.waitingLeft()) {
    cut();
    if (!wantsRange()) body_.clear();
    tryAgain(
        RetryPlan::Failure::Passing,
        "stalled: fewer than " + std::to_string(client_.settings.slowestBytesPerSecond) + " bytes a second");
  }
}

HttpExchange::Clock::time_point HttpExchange::nextCheck(Clock::time_point now) const {
  Clock::time_point next =
      state_ == State::Pausing
          ? nextTry_
          : now + std::min<Clock::duration>(client_.settings.stallTime - pace_.behind(now),
                                            plan_.waitingLeft() - pace_.waited(now));
  for (const auto& request : requests_) {
    if (request->deadline) next = std::min(next, *request->deadline);
  }
  return next;
}

std::exception_ptr HttpExchange::error(const HttpRequest& request, const std::string& reason) const {
  return errorOf(request, file_, reason, head_.status);
}

}  // namespace Core
