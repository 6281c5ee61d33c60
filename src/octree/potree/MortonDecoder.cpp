#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "octree/potree/MortonDecoder.cpp"
#include <hwy/foreach_target.h>
// foreach_target.h must come first: it compiles this file once for every instruction set.
#include <hwy/highway.h>

#include <cstring>

#include "octree/potree/MortonDecoder.h"

HWY_BEFORE_NAMESPACE();
namespace PoTree::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Bits 0, 3, 6, ... 45 of each code, moved together by halves, as in H. S. Warren, Hacker's Delight,
// chapter 7.
template <class D, class V = hn::Vec<D>>
V everyThirdBit(D d, V code) {
  code = hn::And(code, hn::Set(d, 0x0000'2492'4924'9249U));
  code = hn::And(hn::Xor(code, hn::ShiftRight<2>(code)), hn::Set(d, 0x0000'0C30'C30C'30C3U));
  code = hn::And(hn::Xor(code, hn::ShiftRight<4>(code)), hn::Set(d, 0x0000'00F0'0F00'F00FU));
  code = hn::And(hn::Xor(code, hn::ShiftRight<8>(code)), hn::Set(d, 0x0000'0000'FF00'00FFU));
  return hn::And(hn::Xor(code, hn::ShiftRight<16>(code)), hn::Set(d, 0x0000'0000'0000'FFFFU));
}

template <class D, class V = hn::Vec<D>>
void coordinates(D d, V code, V& x, V& y, V& z) {
  x = everyThirdBit(d, code);
  y = everyThirdBit(d, hn::ShiftRight<1>(code));
  z = everyThirdBit(d, hn::ShiftRight<2>(code));
}

// The words of kVectors vectors. Codes stand at any address, and the loads of targets without vectors are
// plain accesses, which ask for alignment.
template <std::size_t kVectors, class D>
struct Words {
  HWY_ALIGN std::uint64_t values[kVectors * hn::MaxLanes(D())];

  Words(D d, const std::byte* bytes) {
    std::memcpy(values, bytes, kVectors * hn::Lanes(d) * sizeof(std::uint64_t));
  }
};

// One vector of positions from pairs (high code, low code).
template <class D>
void decodePositions(D d, const std::byte* pairs, std::uint32_t* xyz) {
  using V = hn::Vec<D>;
  V high;
  V low;
  hn::LoadInterleaved2(d, Words<2, D>(d, pairs).values, high, low);
  V x;
  V y;
  V z;
  coordinates(d, low, x, y, z);
  const V zero = hn::Zero(d);
  // The first and the last of the four words.
  const V outer = hn::Or(hn::And(high, hn::Set(d, 0xFFFF'FFFFU)), hn::ShiftRight<32>(low));
  high = hn::IfThenZeroElse(hn::Eq(outer, zero), high);
  if (!hn::AllTrue(d, hn::Eq(high, zero))) {
    V highX;
    V highY;
    V highZ;
    coordinates(d, high, highX, highY, highZ);
    x = hn::Or(x, hn::ShiftLeft<16>(highX));
    y = hn::Or(y, hn::ShiftLeft<16>(highY));
    z = hn::Or(z, hn::ShiftLeft<16>(highZ));
  }
  const hn::Rebind<std::uint32_t, D> out;
  hn::StoreInterleaved3(hn::TruncateTo(out, x), hn::TruncateTo(out, y), hn::TruncateTo(out, z), out, xyz);
}

template <class D>
void decodeColors(D d, const std::byte* codes, std::uint16_t* rgb) {
  hn::Vec<D> r;
  hn::Vec<D> g;
  hn::Vec<D> b;
  coordinates(d, hn::Load(d, Words<1, D>(d, codes).values), r, g, b);
  const hn::Rebind<std::uint16_t, D> out;
  hn::StoreInterleaved3(hn::TruncateTo(out, r), hn::TruncateTo(out, g), hn::TruncateTo(out, b), out, rgb);
}

// Runs `decode` on whole vectors straight from and to memory, and on the rest by way of padded copies.
template <std::size_t kCodeSize, class Out, class Decode>
void decodeAll(const std::byte* codes, std::size_t count, Out* out, const Decode& decode) {
  const hn::ScalableTag<std::uint64_t> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + lanes <= count; i += lanes) decode(d, codes + i * kCodeSize, out + 3 * i);
  if (i == count) return;
  HWY_ALIGN std::byte lastCodes[hn::MaxLanes(d) * kCodeSize] = {};
  HWY_ALIGN Out lastOut[hn::MaxLanes(d) * 3];
  std::memcpy(lastCodes, codes + i * kCodeSize, (count - i) * kCodeSize);
  decode(d, lastCodes, lastOut);
  std::memcpy(out + 3 * i, lastOut, (count - i) * 3 * sizeof(Out));
}

void positions(const std::byte* codes, std::size_t count, std::uint32_t* xyz) {
  decodeAll<kPositionCodeSize>(codes, count, xyz, [](auto d, const std::byte* in, std::uint32_t* out) {
    decodePositions(d, in, out);
  });
}

void colors(const std::byte* codes, std::size_t count, std::uint16_t* rgb) {
  decodeAll<kColorCodeSize>(
      codes, count, rgb, [](auto d, const std::byte* in, std::uint16_t* out) { decodeColors(d, in, out); });
}

}  // namespace PoTree::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "core/ByteReader.h"

namespace PoTree {

HWY_EXPORT(positions);
HWY_EXPORT(colors);

namespace {

constexpr std::uint32_t everyThirdBitOf(std::uint64_t code) {
  code &= 0x0000'2492'4924'9249U;
  code = (code ^ code >> 2U) & 0x0000'0C30'C30C'30C3U;
  code = (code ^ code >> 4U) & 0x0000'00F0'0F00'F00FU;
  code = (code ^ code >> 8U) & 0x0000'0000'FF00'00FFU;
  return static_cast<std::uint32_t>((code ^ code >> 16U) & 0xFFFFU);
}

}  // namespace

std::array<std::uint32_t, 3> decodeMortonPosition(const std::byte* code) {
  auto high = Core::loadLittleEndian<std::uint64_t>(code);
  const auto low = Core::loadLittleEndian<std::uint64_t>(code + 8);
  if ((high & 0xFFFF'FFFFU) == 0 && low >> 32U == 0) high = 0;
  std::array<std::uint32_t, 3> xyz{};
  for (unsigned axis = 0; axis < 3; ++axis) {
    xyz[axis] = everyThirdBitOf(high >> axis) << 16U | everyThirdBitOf(low >> axis);
  }
  return xyz;
}

void decodeMortonPositions(std::span<const std::byte> codes, std::span<std::uint32_t> xyz) {
  HWY_DYNAMIC_DISPATCH(positions)
  (codes.data(), codes.size() / kPositionCodeSize, xyz.data());
}

void decodeMortonColors(std::span<const std::byte> codes, std::span<std::uint16_t> rgb) {
  HWY_DYNAMIC_DISPATCH(colors)
  (codes.data(), codes.size() / kColorCodeSize, rgb.data());
}

}  // namespace PoTree

#endif  // HWY_ONCE
