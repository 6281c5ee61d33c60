#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "formats/laz/RangeEncoder.h"

namespace Formats::Laz {

/// Codes the first 30 bytes of records of the point formats 6 to 10, item version 3, in nine layers, with
/// models for each scanner channel. A chunk's records must outlive its encoding.
class Point14Encoder {
 public:
  static constexpr std::size_t kSize = 30;

  /// The scanner channel of a record, 0 to 3.
  [[nodiscard]] static std::size_t channelOf(const std::byte* record);

  Point14Encoder();
  ~Point14Encoder();

  /// Begins a chunk.
  /// @param first    its first record, which is not coded.
  /// @param changes  of each of its bytes, the bits that differ in any other record of the chunk.
  void start(const std::byte* first, std::span<const std::byte> changes);

  /// @return the channel, if it is another than the record's before, else 0.
  std::size_t encode(const std::byte* record);

  /// Ends the layers, whose bytes stay until the next start(): empty ones of what never changes.
  void finish(std::vector<std::span<const std::byte>>& layers);

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
    kGpsTime,
    kLayers
  };
  struct Channel;
  struct Returns;
  static constexpr std::size_t kChannels = 4;

  RangeEncoder& streamOf(Layer layer);
  Channel& channelFor(std::size_t channel, const std::byte* last);
  void encodeReturns(const Returns& returns, const std::byte* last, Channel& channel);
  void encodePosition(const Returns& returns, const std::byte* record, Channel& channel);
  void encodeAttributes(const Returns& returns, unsigned changed, const std::byte* record, Channel& channel);

  std::array<RangeEncoder, kLayers> layers_;
  std::array<bool, kLayers> isWritten_{};
  std::array<std::unique_ptr<Channel>, kChannels> channels_;  // made when they are first switched to
  std::size_t current_ = 0;
};

}  // namespace Formats::Laz
