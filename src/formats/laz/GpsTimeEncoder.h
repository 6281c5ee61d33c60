#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "formats/laz/IntegerEncoder.h"
#include "formats/laz/RangeEncoder.h"

namespace Formats::Laz {

/// Codes GPS times by their bit patterns, as differences in one of up to four interwoven sequences, in
/// multiples of a sequence's usual difference.
class GpsTimeEncoder {
 public:
  /// Whether there is a code for a time equal to the one before: point-wise items have one, layered items say
  /// so elsewhere and code no such time.
  enum class Unchanged { Coded, NotCoded };

  /// Writes that one time takes at most.
  static constexpr std::size_t kWrites = 2 + IntegerEncoder::kWrites + 2;

  GpsTimeEncoder(Unchanged unchanged, std::uint64_t firstTime);

  void encode(std::uint64_t time, RangeEncoder& stream);

 private:
  static constexpr std::uint32_t kSequences = 4;
  struct Sequence {
    std::uint64_t time = 0;
    std::int32_t difference = 0;
    int outliers = 0;  // unusual differences in a row
  };

  static bool reaches(const Sequence& sequence, std::uint64_t time);
  [[nodiscard]] std::uint32_t stepsToReaching(std::uint64_t time) const;
  void encodeSwitch(std::uint32_t steps, RangeEncoder& stream);
  void encodeNewTime(std::uint64_t time, RangeEncoder& stream);
  void encodeDifference(Sequence& sequence, std::int32_t difference, RangeEncoder& stream);
  void encodeMultiple(Sequence& sequence, std::int32_t difference, RangeEncoder& stream);

  std::uint32_t codesForUnchanged_;  // 0 or 1
  SymbolModel<6> first_;             // codes in a sequence without a usual difference
  SymbolModel<516> multiple_;        // codes in the others
  IntegerEncoder numbers_;
  std::array<Sequence, kSequences> sequences_;
  std::uint32_t current_ = 0;
  std::uint32_t newest_ = 0;
};

}  // namespace Formats::Laz
