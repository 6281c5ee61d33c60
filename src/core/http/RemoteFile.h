#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/http/HttpHeaders.h"

namespace Core {

/// A range of bytes that is not empty and ends at 2^64 - 1 or before.
struct ByteRange {
  std::uint64_t offset = 0;
  std::uint64_t count = 0;

  [[nodiscard]] std::uint64_t end() const { return offset + count; }
  bool operator==(const ByteRange&) const = default;
};

/// What the answers so far have told of a file on a server.
struct RemoteFile {
  std::optional<std::uint64_t> size;
  std::string etag;
  std::string lastModified;

  /// What goes into If-Range (RFC 9110, section 13.1.5): a strong entity tag, else the date of the last
  /// change; empty when neither is known.
  [[nodiscard]] std::string ifRange() const;
  /// Whether an answer is about another version of the file than the ones before.
  [[nodiscard]] bool contradicts(const HttpHead& head, std::optional<std::uint64_t> newSize) const;
  /// Takes what the answer tells and was not known.
  void learn(const HttpHead& head, std::optional<std::uint64_t> newSize);
};

/// What to do with an answer, once its head is there.
struct Answer {
  enum class Kind {
    Range,     ///< the body is the range, or the part of it that lies in the file
    Whole,     ///< the body is the whole file
    Redirect,  ///< ask elsewhere
    Busy,      ///< ask again later
    Wrong,     ///< not what the protocol asks for: once more, since proxies err
    Refused,   ///< for good
  };
  Kind kind = Kind::Refused;
  std::string reason{};                     ///< of Busy, Wrong and Refused
  std::uint64_t bodySize = 0;               ///< of Range
  std::optional<std::uint64_t> fileSize{};  ///< as this answer states it
};

/// The limits within which answers are accepted.
struct AnswerLimits {
  std::uint64_t largestWholeFile = 0;  ///< when a whole file was asked for
  std::uint64_t keptBytes = 0;         ///< when the whole file came instead of a range
};

/// Holds the head of an answer against what was asked for (nothing: the whole file) and what is known of the
/// file. Pure.
[[nodiscard]] Answer judgeAnswer(const HttpHead& head, const std::optional<ByteRange>& asked,
                                 const RemoteFile& file, const AnswerLimits& limits);

}  // namespace Core
