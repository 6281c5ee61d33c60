#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "formats/laz/RangeEncoder.h"

namespace Formats::Laz {

/// Codes the first 30 bytes of records of the point formats 6 to 10, item version 3, in nine layers, with
/// models for each scanner channel. The chunk's records must outlive it.
class Point14Encoder {
 public:
  static constexpr std::size_t kSize = 30;
  static constexpr std::size_t kLayers = 9;

  /// The scanner channel of a record, 0 to 3.
  [[nodiscard]] static std::size_t channelOf(const std::byte* record);

  /// @param first    the chunk's first record, which is not coded.
  /// @param changes  of each of its bytes, the bits that differ in any other record of the chunk: layers of
  ///                 what never changes stay empty.
  Point14Encoder(const std::byte* first, std::span<const std::byte> changes);
  ~Point14Encoder();

  /// @return the channel, if it is another than the record's before, else 0.
  std::size_t encode(const std::byte* record);

  /// Ends one of the kLayers layers. @return its bytes, which live as long as this object.
  [[nodiscard]] std::span<const std::byte> finish(std::size_t layer);

 private:
  enum Layer : std::size_t {
    kPosition,
    kHeight,
    kClassification,
    kFlags,
    kIntensity,
    kScanAngle,
    kUserData,
    kSource,
    kGpsTime
  };
  struct Channel;
  struct Returns;
  static constexpr std::size_t kChannels = 4;

  RangeEncoder& streamOf(Layer layer);
  void encodeReturns(const Returns& returns, const std::byte* last, Channel& channel);
  void encodePosition(const Returns& returns, const std::byte* record, Channel& channel);
  void encodeAttributes(const Returns& returns, unsigned changed, const std::byte* record, Channel& channel);

  std::array<RangeEncoder, kLayers> layers_;
  std::array<bool, kLayers> isWritten_;
  std::array<std::unique_ptr<Channel>, kChannels> channels_;  // made when they are first switched to
  std::size_t current_;
};

}  // namespace Formats::Laz
