#include "core/http/HttpHeaders.h"

#include <curl/curl.h>

#include <algorithm>
#include <charconv>

namespace Core {
namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

char small(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

/// Whether the text begins with @p start, which is in small letters.
bool startsWithNoCase(std::string_view text, std::string_view start) {
  return text.size() >= start.size() && std::equal(start.begin(), start.end(), text.begin(),
                                                   [](char wanted, char c) { return wanted == small(c); });
}

}  // namespace

std::optional<std::uint64_t> parseDecimal(std::string_view text) {
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::optional<ContentRange> parseContentRange(std::string_view text) {
  constexpr std::string_view kUnit = "bytes";
  if (!startsWithNoCase(text, kUnit) || text.size() == kUnit.size() || !isSpace(text[kUnit.size()]))
    return std::nullopt;
  const std::string_view rest = trimmed(text.substr(kUnit.size()));
  const std::size_t slash = rest.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const std::string_view range = rest.substr(0, slash);
  const std::string_view total = rest.substr(slash + 1);

  ContentRange result;
  if (total != "*") {
    result.total = parseDecimal(total);
    if (!result.total) return std::nullopt;
  }
  if (range == "*") return result.total ? std::optional(result) : std::nullopt;
  const std::size_t dash = range.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto first = parseDecimal(range.substr(0, dash));
  const auto last = parseDecimal(range.substr(dash + 1));
  if (!first || !last || *last < *first || (result.total && *last >= *result.total)) return std::nullopt;
  result.bytes = ContentRange::Bytes{*first, *last};
  return result;
}

std::optional<std::chrono::seconds> parseRetryAfter(std::string_view text,
                                                    std::chrono::system_clock::time_point now) {
  constexpr std::uint64_t kLongest = 1'000'000'000;
  constexpr std::size_t kLongestDate = 64;
  if (const auto seconds = parseDecimal(text))
    return std::chrono::seconds(static_cast<std::int64_t>(std::min(*seconds, kLongest)));
  // Dates name a day and a month: without letters, the date parser would take other numbers for years.
  if (text.size() > kLongestDate ||
      std::none_of(text.begin(), text.end(), [](char c) { return small(c) >= 'a' && small(c) <= 'z'; })) {
    return std::nullopt;
  }
  const std::time_t date = curl_getdate(std::string(text).c_str(), nullptr);
  if (date < 0) return std::nullopt;
  // In whole seconds: dates of far years do not fit the clock's ticks.
  const auto sinceEpoch = std::chrono::floor<std::chrono::seconds>(now.time_since_epoch());
  return std::clamp(std::chrono::seconds(date) - sinceEpoch, std::chrono::seconds(0),
                    std::chrono::seconds(kLongest));
}

std::optional<int> parseStatusLine(std::string_view line) {
  constexpr std::string_view kStart = "http/";
  if (!startsWithNoCase(line, kStart)) return std::nullopt;
  const std::size_t space = line.find(' ');
  if (space == std::string_view::npos) return std::nullopt;
  const std::string_view rest = trimmed(line.substr(space));
  const auto status = parseDecimal(rest.substr(0, rest.find(' ')));
  if (!status || *status < 100 || *status > 999) return std::nullopt;
  return static_cast<int>(*status);
}

void HttpHead::addLine(std::string_view line) {
  if (const auto newStatus = parseStatusLine(line)) {
    *this = {};
    status = *newStatus;
    return;
  }
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return;
  const std::string_view name = line.substr(0, colon);
  const std::string_view value = trimmed(line.substr(colon + 1));
  const auto is = [&](std::string_view wanted) {
    return name.size() == wanted.size() && startsWithNoCase(name, wanted);
  };
  if (is("content-length")) {
    contentLength = parseDecimal(value);
  } else if (is("content-range")) {
    contentRange = value;
  } else if (is("content-type")) {
    contentType = value;
  } else if (is("content-encoding")) {
    contentEncoding = value;
  } else if (is("etag")) {
    etag = value;
  } else if (is("last-modified")) {
    lastModified = value;
  } else if (is("retry-after")) {
    retryAfter = value;
  } else if (is("location")) {
    location = value;
  }
}

}  // namespace Core
