#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/LittleEndian.h"
#include "formats/laz/IntegerDecoder.h"

namespace Formats::Laz {

/// Where a point's waveform is, and where the point is in it. Floating-point numbers are their bits.
struct WavePacket {
  static constexpr std::size_t kSize = 29;

  std::uint8_t descriptor = 0;
  std::uint64_t offset = 0;
  std::uint32_t size = 0;
  std::uint32_t returnPoint = 0;
  std::array<std::uint32_t, 3> direction{};

  static WavePacket load(const std::byte* in) {
    WavePacket packet;
    packet.descriptor = Core::loadLittleEndian<std::uint8_t>(in);
    packet.offset = Core::loadLittleEndian<std::uint64_t>(in + 1);
    packet.size = Core::loadLittleEndian<std::uint32_t>(in + 9);
    packet.returnPoint = Core::loadLittleEndian<std::uint32_t>(in + 13);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      packet.direction[axis] = Core::loadLittleEndian<std::uint32_t>(in + 17 + 4 * axis);
    }
    return packet;
  }

  void store(std::byte* out) const {
    out = Core::storeLittleEndian(out, descriptor);
    out = Core::storeLittleEndian(out, offset);
    out = Core::storeLittleEndian(out, size);
    out = Core::storeLittleEndian(out, returnPoint);
    for (const std::uint32_t part : direction) out = Core::storeLittleEndian(out, part);
  }
};

/// Decodes wave packets from the last one (WAVEPACKET13 and WAVEPACKET14).
class WavePacketDecoder {
 public:
  void reset() {
    descriptor_.reset();
    for (auto& model : offsetCode_) model.reset();
    offsetChange_.reset();
    size_.reset();
    returnPoint_.reset();
    direction_.reset();
    lastCode_ = 0;
    lastChange_ = 0;
  }

  /// The packet that follows @p last.
  WavePacket decode(RangeDecoder& decoder, const WavePacket& last) {
    WavePacket packet = last;
    packet.descriptor = static_cast<std::uint8_t>(decoder.symbol(descriptor_));
    lastCode_ = decoder.symbol(offsetCode_[lastCode_]);
    if (lastCode_ == 1) {
      packet.offset += last.size;
    } else if (lastCode_ == 2) {
      lastChange_ = offsetChange_.decode(decoder, lastChange_);
      packet.offset += static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(lastChange_)});
    } else if (lastCode_ == 3) {
      packet.offset = decoder.bits64();
    }
    packet.size = size_.decode(decoder, last.size);
    packet.returnPoint = returnPoint_.decode(decoder, last.returnPoint);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      packet.direction[axis] = direction_.decode(decoder, last.direction[axis], axis);
    }
    return packet;
  }

 private:
  DecodingModel<256> descriptor_;
  std::array<DecodingModel<4>, 4> offsetCode_;  // by the last code
  IntegerDecoder<32, 1> offsetChange_;
  IntegerDecoder<32, 1> size_;
  IntegerDecoder<32, 1> returnPoint_;
  IntegerDecoder<32, 3> direction_;
  std::size_t lastCode_ = 0;
  std::uint32_t lastChange_ = 0;
};

}  // namespace Formats::Laz
