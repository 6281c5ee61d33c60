#include "formats/laz/RangeEncoder.h"

#include <algorithm>

namespace Formats::Laz {
namespace {

constexpr std::size_t kFirstRoom = 4096;

}  // namespace

void RangeEncoder::carry() {
  std::byte* at = out_ - kWindowStart - 1;
  while (*at == std::byte{0xFF}) *at-- = std::byte{0};
  *at = static_cast<std::byte>(std::to_integer<unsigned>(*at) + 1);
}

void RangeEncoder::grow(std::size_t writes) {
  const std::size_t used = bytes_.empty() ? kWindowStart : static_cast<std::size_t>(out_ - bytes_.data());
  const std::size_t room = std::max({kFirstRoom, used, writes * kLongestWrite});
  bytes_.resize(used + room + sizeof(window_));
  out_ = bytes_.data() + used;
  end_ = out_ + room;
}

std::span<const std::byte> RangeEncoder::finish() {
  constexpr std::size_t kEnd = 4;  // bytes: the one or two that shift() writes, and zeros
  makeRoom(kEnd);
  // A number well inside the interval, of as few bytes as can be.
  if (length_ > 1U << 25U) {
    add(1U << 24U);
    length_ = 1U << 23U;
  } else {
    add(1U << 23U);
    length_ = 1U << 15U;
  }
  std::byte* const end = out_ + kEnd;
  shift();
  std::fill(out_, end, std::byte{0});
  return {bytes_.data() + kWindowStart, end};
}

}  // namespace Formats::Laz
