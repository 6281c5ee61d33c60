#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "formats/laz/IntegerDecoder.h"

namespace Formats::Laz {

/// Decodes times that belong to up to four interleaved sequences, each with its usual difference.
/// @tparam CodesUnchanged  whether a code says that the time is that of the point before (GPSTIME11), or
/// times
///                         that do not change are not in the stream (POINT14).
template <bool CodesUnchanged>
class GpsTimeDecoder {
 public:
  /// @param first  the bits of the first time.
  void reset(std::uint64_t first) {
    none_.reset();
    some_.reset();
    integers_.reset();
    times_ = {first};
    usual_ = {};
    unusual_ = {};
    current_ = newest_ = 0;
  }

  /// The last time, as its bits.
  [[nodiscard]] std::uint64_t last() const { return times_[current_]; }

  /// The next time, as its bits.
  std::uint64_t decode(RangeDecoder& decoder) {
    // A change to another sequence is followed by a further code. One change is enough for any time.
    for (unsigned changes = 0; changes < kMostChanges; ++changes) {
      if (usual_[current_] == 0 ? withoutUsual(decoder) : withUsual(decoder)) return times_[current_];
    }
    decoder.giveUp();
    return times_[current_];
  }

 private:
  static constexpr unsigned kMostChanges = 16;
  static constexpr unsigned kLargest = 500;       // the largest multiple with a code
  static constexpr unsigned kMostNegative = 510;  // the code of the multiple -10
  static constexpr unsigned kUnchanged = 511;     // of GPSTIME11; further codes follow
  static constexpr unsigned kUncoded = CodesUnchanged ? 0 : 1;

  /// @return whether the time is known now.
  bool withoutUsual(RangeDecoder& decoder) {
    const auto code = static_cast<unsigned>(decoder.symbol(none_)) + kUncoded;
    if (code == 1) {
      usual_[current_] = integers_.decode(decoder, 0, 0);
      advance(usual_[current_]);
      unusual_[current_] = 0;
    } else if (code == 2) {
      startSequence(decoder);
    } else if (code > 2) {
      current_ = (current_ + code - 2) & 3U;
      return false;
    }
    return true;
  }

  /// The same where the sequence has a usual difference.
  bool withUsual(RangeDecoder& decoder) {
    auto code = static_cast<unsigned>(decoder.symbol(some_));
    if (code >= kUnchanged) code += kUncoded;
    const std::uint32_t usual = usual_[current_];
    if (code == 1) {
      advance(integers_.decode(decoder, usual, 1));
      unusual_[current_] = 0;
    } else if (code == 0) {
      advanceUnusually(integers_.decode(decoder, 0, 7));
    } else if (code < kLargest) {
      advance(integers_.decode(decoder, code * usual, code < 10 ? 2 : 3));
    } else if (code == kLargest) {
      advanceUnusually(integers_.decode(decoder, code * usual, 4));
    } else if (code < kMostNegative) {
      advance(integers_.decode(decoder, (kLargest - code) * usual, 5));
    } else if (code == kMostNegative) {
      advanceUnusually(integers_.decode(decoder, (kLargest - code) * usual, 6));
    } else if (code == kUnchanged + 1) {
      startSequence(decoder);
    } else if (code > kUnchanged + 1) {
      current_ = (current_ + code - (kUnchanged + 1)) & 3U;
      return false;
    }
    return true;
  }

  void advance(std::uint32_t difference) {
    times_[current_] += static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(difference)});
  }

  /// The same, by a difference that becomes the usual one when there are many such.
  void advanceUnusually(std::uint32_t difference) {
    constexpr unsigned kMany = 3;
    advance(difference);
    if (++unusual_[current_] <= kMany) return;
    usual_[current_] = difference;
    unusual_[current_] = 0;
  }

  void startSequence(RangeDecoder& decoder) {
    newest_ = (newest_ + 1) & 3U;
    const std::uint64_t high =
        integers_.decode(decoder, static_cast<std::uint32_t>(times_[current_] >> 32U), 8);
    times_[newest_] = high << 32U | decoder.bits(32);
    current_ = newest_;
    usual_[current_] = 0;
    unusual_[current_] = 0;
  }

  DecodingModel<6 - kUncoded> none_;    // codes without a usual difference
  DecodingModel<516 - kUncoded> some_;  // codes with one
  IntegerDecoder<32, 9> integers_;
  std::array<std::uint64_t, 4> times_{};
  std::array<std::uint32_t, 4> usual_{};    // the usual difference of each sequence
  std::array<std::uint32_t, 4> unusual_{};  // how often it was not met in a row
  std::size_t current_ = 0;
  std::size_t newest_ = 0;  // the sequence that was started last
};

}  // namespace Formats::Laz
