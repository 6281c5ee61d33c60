// A first byte that chooses what was asked for and is known, then the head of an answer, line by line:
// refused, or a body that lies inside what was asked for and inside the limits.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/http/RangeQueue.h"
#include "core/http/RemoteFile.h"

namespace {

using Core::Answer;
using Core::ByteRange;

void check(const Core::HttpHead& head, bool wantsRange, bool knowsFile) {
  constexpr ByteRange kAsked{100, 50};
  const Core::AnswerLimits limits{.largestWholeFile = 1000, .keptBytes = 500};
  Core::RemoteFile file;
  if (knowsFile) file = {.size = 200, .etag = "\"a\"", .lastModified = "b"};
  const Answer answer =
      Core::judgeAnswer(head, wantsRange ? std::optional(kAsked) : std::nullopt, file, limits);
  const bool hasBody = answer.kind == Answer::Kind::Range || answer.kind == Answer::Kind::Whole;
  if (hasBody && file.contradicts(head, answer.fileSize)) std::abort();
  if (answer.kind == Answer::Kind::Range &&
      (!wantsRange || answer.bodySize == 0 || answer.bodySize > kAsked.count ||
       (answer.fileSize && *answer.fileSize < kAsked.offset + answer.bodySize))) {
    std::abort();
  }
  const std::uint64_t most = wantsRange ? limits.keptBytes : limits.largestWholeFile;
  if (answer.kind == Answer::Kind::Whole && head.contentLength.value_or(0) > most) std::abort();
  const bool hasReason = answer.kind != Answer::Kind::Redirect;
  if (!hasBody && hasReason && answer.reason.empty()) std::abort();
  file.learn(head, answer.fileSize);
}

/// The same bytes as ranges: what is joined reaches its neighbour, and spans no more than it may.
void checkJoining(std::string_view bytes) {
  constexpr std::uint64_t kGap = 10;
  constexpr std::uint64_t kMost = 100;
  std::vector<ByteRange> ranges;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    ranges.push_back(
        {static_cast<std::uint8_t>(bytes[i]), 1U + static_cast<std::uint8_t>(bytes[i + 1]) % 40U});
  }
  if (ranges.empty()) return;
  const std::vector<std::size_t> taken = Core::joinable(ranges, kGap, kMost);
  if (std::find(taken.begin(), taken.end(), std::size_t{0}) == taken.end()) std::abort();
  std::uint64_t end = ranges[taken.front()].offset;
  for (const std::size_t place : taken) {
    if (ranges[place].offset > end + kGap) std::abort();
    end = std::max(end, ranges[place].end());
  }
  if (end - ranges[taken.front()].offset > kMost) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  checkJoining(text);
  (void)Core::parseRetryAfter(text, std::chrono::system_clock::from_time_t(1'700'000'000));
  Core::HttpHead head;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size() - 1);
    head.addLine(text.substr(0, end + 1));
    text.remove_prefix(end + 1);
  }
  check(head, (data[0] & 1U) != 0, (data[0] & 2U) != 0);
  return 0;
}
