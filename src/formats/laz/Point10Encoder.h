#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/laz/IntegerEncoder.h"
#include "formats/laz/RangeEncoder.h"
#include "formats/laz/StreamingMedian.h"

namespace Formats::Laz {

/// Codes the first 20 bytes of records of the point formats 0 to 5, item version 2.
class Point10Encoder {
 public:
  static constexpr std::size_t kSize = 20;

  Point10Encoder();

  /// @param last  the record before.
  void encode(const std::byte* record, const std::byte* last, RangeEncoder& stream);

 private:
  static constexpr std::size_t kReturnContexts = 16;
  static constexpr std::size_t kReturnLevels = 8;
  using ByteModel = SymbolModel<256>;
  using ByteModels = std::vector<ByteModel>;  // one for each value of the byte before

  void encodeAttributes(unsigned changed, std::size_t returnContext, const std::byte* record,
                        const std::byte* last, RangeEncoder& stream);
  void encodePosition(std::size_t returnContext, const std::byte* record, const std::byte* last,
                      RangeEncoder& stream);

  SymbolModel<64> changed_;
  ByteModels returns_;
  ByteModels classifications_;
  ByteModels userData_;
  std::array<ByteModel, 2> scanAngles_;  // by scan direction
  IntegerEncoder intensities_;
  IntegerEncoder sources_;
  IntegerEncoder xs_;
  IntegerEncoder ys_;
  IntegerEncoder zs_;
  std::array<StreamingMedian, kReturnContexts> xSteps_;
  std::array<StreamingMedian, kReturnContexts> ySteps_;
  std::array<std::uint16_t, kReturnContexts> lastIntensities_{};
  std::array<std::int32_t, kReturnLevels> lastZs_{};
};

}  // namespace Formats::Laz
