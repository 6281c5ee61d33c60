#include "core/http/RemoteFile.h"

#include <algorithm>

namespace Core {
namespace {

using Kind = Answer::Kind;

constexpr const char* kChanged = "dataset changed while open";

/// A text of the server's for a message: short, and nothing that would steer a terminal.
std::string shown(std::string text) {
  constexpr std::size_t kMost = 60;
  if (text.size() > kMost) text = text.substr(0, kMost) + "...";
  std::replace_if(
      text.begin(), text.end(),
      [](char c) { return static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E; },
      '?');
  return "'" + text + "'";
}

std::string expected(const std::string& what, const std::string& wanted, const std::string& found) {
  return what + ": expected " + wanted + ", found " + found;
}

bool isEncoded(const HttpHead& head) {
  return !head.contentEncoding.empty() && head.contentEncoding != "identity";
}

Answer refused(std::string reason) { return {.kind = Kind::Refused, .reason = std::move(reason)}; }
Answer wrong(std::string reason) { return {.kind = Kind::Wrong, .reason = std::move(reason)}; }

std::string rangeText(const ByteRange& range) {
  return "bytes " + std::to_string(range.offset) + '-' + std::to_string(range.end() - 1);
}

Answer judgePart(const HttpHead& head, const ByteRange& asked, const RemoteFile& file) {
  if (isEncoded(head)) {
    return refused(expected("Content-Encoding of a range", "none", shown(head.contentEncoding)));
  }
  const auto range = parseContentRange(head.contentRange);
  // An answer of several parts has no Content-Range of its own.
  if (!range || !range->bytes) {
    const std::string found = head.contentRange.empty() ? "none, Content-Type " + shown(head.contentType)
                                                        : shown(head.contentRange);
    return wrong(expected("Content-Range", rangeText(asked), found));
  }
  if (file.contradicts(head, range->total)) return refused(kChanged);
  const std::uint64_t wantedLast = range->total ? std::min(asked.end(), *range->total) - 1 : asked.end() - 1;
  if (range->bytes->first != asked.offset || range->bytes->last != wantedLast) {
    return wrong(expected("Content-Range", rangeText(asked), shown(head.contentRange)));
  }
  const std::uint64_t size = wantedLast - asked.offset + 1;
  if (head.contentLength && *head.contentLength != size) {
    return wrong(expected("Content-Length", std::to_string(size), std::to_string(*head.contentLength)));
  }
  return {.kind = Kind::Range, .bodySize = size, .fileSize = range->total};
}

Answer judgeWhole(const HttpHead& head, bool askedForRange, const RemoteFile& file,
                  const AnswerLimits& limits) {
  if (askedForRange && isEncoded(head)) {
    return refused(expected("Content-Encoding of a range", "none", shown(head.contentEncoding)));
  }
  const std::optional<std::uint64_t> size = isEncoded(head) ? std::nullopt : head.contentLength;
  if (file.contradicts(head, size)) return refused(kChanged);
  if (askedForRange && size.value_or(0) > limits.keptBytes) {
    return refused("server ignores Range: it has no range support, and the whole file of " +
                   std::to_string(*size) + " bytes is larger than the " + std::to_string(limits.keptBytes) +
                   " that are left to keep such files in");
  }
  if (!askedForRange && head.contentLength.value_or(0) > limits.largestWholeFile) {
    return refused(expected("size", "at most " + std::to_string(limits.largestWholeFile) + " bytes",
                            std::to_string(*head.contentLength)));
  }
  return {.kind = Kind::Whole, .fileSize = size};
}

Answer judgeUnsatisfied(const HttpHead& head, const RemoteFile& file) {
  const auto range = parseContentRange(head.contentRange);
  if (!range || !range->total) return refused("HTTP status 416: the range leaves the file");
  if (file.contradicts(head, range->total)) return refused(kChanged);
  Answer answer =
      refused("HTTP status 416: the range leaves the file of " + std::to_string(*range->total) + " bytes");
  answer.fileSize = range->total;
  return answer;
}

}  // namespace

std::string RemoteFile::ifRange() const {
  const bool isStrong = etag.size() > 1 && etag.front() == '"';
  return isStrong ? etag : lastModified;
}

bool RemoteFile::contradicts(const HttpHead& head, std::optional<std::uint64_t> newSize) const {
  if (size && newSize && *size != *newSize) return true;
  if (!etag.empty() && !head.etag.empty()) return etag != head.etag;
  return !lastModified.empty() && !head.lastModified.empty() && lastModified != head.lastModified;
}

void RemoteFile::learn(const HttpHead& head, std::optional<std::uint64_t> newSize) {
  if (!size) size = newSize;
  if (etag.empty()) etag = head.etag;
  if (lastModified.empty()) lastModified = head.lastModified;
}

Answer judgeAnswer(const HttpHead& head, const std::optional<ByteRange>& asked, const RemoteFile& file,
                   const AnswerLimits& limits) {
  const std::string status = "HTTP status " + std::to_string(head.status);
  switch (head.status) {
    case 200:
      return judgeWhole(head, asked.has_value(), file, limits);
    case 206:
      if (!asked) return wrong(expected("HTTP status", "200", "206"));
      return judgePart(head, *asked, file);
    case 301:
    case 302:
    case 303:
    case 307:
    case 308:
      if (head.location.empty()) return refused(status + " without a Location");
      return {.kind = Kind::Redirect};
    case 401:
    case 403:
      return refused(status + ": credentials needed or signed URL expired");
    case 404:
    case 410:
      return refused(status + ": not found");
    case 416:
      return judgeUnsatisfied(head, file);
    case 429:
    case 500:
    case 502:
    case 503:
    case 504:
      return {.kind = Kind::Busy, .reason = status};
    default:
      return refused(status);
  }
}

}  // namespace Core
