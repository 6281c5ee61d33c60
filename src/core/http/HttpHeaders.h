#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Core {

/// A Content-Range of bytes (RFC 9110, section 14.4).
struct ContentRange {
  /// First and last byte, both inside; absent in "bytes */N".
  struct Bytes {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    bool operator==(const Bytes&) const = default;
  };
  std::optional<Bytes> bytes;
  std::optional<std::uint64_t> total;  ///< the size of the file, when the server knows it

  bool operator==(const ContentRange&) const = default;
};

/// Nothing when the text is no range of bytes, or one that cannot be: its end before its beginning, or behind
/// the end of the file.
[[nodiscard]] std::optional<ContentRange> parseContentRange(std::string_view text);

/// How long to wait by a Retry-After of seconds or of a date (RFC 9110, section 10.2.3); a date that has
/// passed asks for no wait. Nothing when the text is neither.
[[nodiscard]] std::optional<std::chrono::seconds> parseRetryAfter(std::string_view text,
                                                                  std::chrono::system_clock::time_point now);

/// The status of "HTTP/1.1 206 Partial Content" or "HTTP/2 206"; nothing for other lines.
[[nodiscard]] std::optional<int> parseStatusLine(std::string_view line);

/// A decimal number of at most 2^64 - 1, of digits alone.
[[nodiscard]] std::optional<std::uint64_t> parseDecimal(std::string_view text);

/// What a client looks at in the head of an answer; texts as they came, without the white space around them.
struct HttpHead {
  int status = 0;  ///< 0 before the status line
  std::optional<std::uint64_t> contentLength;
  std::string contentRange;
  std::string contentType;
  std::string contentEncoding;
  std::string etag;
  std::string lastModified;
  std::string retryAfter;
  std::string location;

  /// Takes one line, its end of line included or not. A status line begins a new head, since informational
  /// answers come before the one that counts. Lines of no interest and broken ones change nothing.
  void addLine(std::string_view line);
};

}  // namespace Core
