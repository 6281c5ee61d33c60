#include "core/Crc32c.h"

#include "core/ByteReader.h"

#ifdef __x86_64__
#include <nmmintrin.h>
#endif

namespace Core {
namespace {

constexpr std::uint32_t kStart = 0xFFFFFFFF;
constexpr std::size_t kStep = 8;

using Tables = std::array<std::array<std::uint32_t, 256>, kStep>;

/// Table k takes a byte through k further bytes of zeros, so that eight bytes go in one step.
constexpr Tables makeTables() {
  constexpr std::uint32_t kPolynomial = 0x82F63B78;
  Tables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1U ^ ((crc & 1U) != 0 ? kPolynomial : 0);
    tables[0][byte] = crc;
  }
  for (std::size_t k = 1; k < kStep; ++k) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t crc = tables[k - 1][byte];
      tables[k][byte] = crc >> 8U ^ tables[0][crc & 0xFFU];
    }
  }
  return tables;
}

constexpr Tables kTables = makeTables();

#ifdef __x86_64__
[[gnu::target("sse4.2")]] std::array<std::uint32_t, 3> threeByInstruction(
    const std::array<const std::byte*, 3>& runs, std::size_t size) {
  std::uint64_t a = kStart;
  std::uint64_t b = kStart;
  std::uint64_t c = kStart;
  std::size_t at = 0;
  for (; at + kStep <= size; at += kStep) {
    a = _mm_crc32_u64(a, loadLittleEndian<std::uint64_t>(runs[0] + at));
    b = _mm_crc32_u64(b, loadLittleEndian<std::uint64_t>(runs[1] + at));
    c = _mm_crc32_u64(c, loadLittleEndian<std::uint64_t>(runs[2] + at));
  }
  std::array<std::uint32_t, 3> crcs{static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b),
                                    static_cast<std::uint32_t>(c)};
  for (; at < size; ++at) {
    for (std::size_t run = 0; run < crcs.size(); ++run) {
      crcs[run] = _mm_crc32_u8(crcs[run], std::to_integer<std::uint8_t>(runs[run][at]));
    }
  }
  for (std::uint32_t& crc : crcs) crc = ~crc;
  return crcs;
}

[[gnu::target("sse4.2")]] std::uint32_t oneByInstruction(std::span<const std::byte> bytes) {
  std::uint64_t crc = kStart;
  std::size_t at = 0;
  for (; at + kStep <= bytes.size(); at += kStep) {
    crc = _mm_crc32_u64(crc, loadLittleEndian<std::uint64_t>(bytes.data() + at));
  }
  auto narrow = static_cast<std::uint32_t>(crc);
  for (; at < bytes.size(); ++at) narrow = _mm_crc32_u8(narrow, std::to_integer<std::uint8_t>(bytes[at]));
  return ~narrow;
}

bool hasInstruction() { return __builtin_cpu_supports("sse4.2") != 0; }
#endif

}  // namespace

std::uint32_t crc32cByTable(std::span<const std::byte> bytes) {
  std::uint32_t crc = kStart;
  std::size_t at = 0;
  for (; at + kStep <= bytes.size(); at += kStep) {
    const std::uint64_t eight = loadLittleEndian<std::uint64_t>(bytes.data() + at) ^ crc;
    crc = 0;
    for (std::size_t k = 0; k < kStep; ++k) crc ^= kTables[kStep - 1 - k][eight >> 8 * k & 0xFFU];
  }
  for (; at < bytes.size(); ++at) {
    crc = crc >> 8U ^ kTables[0][(crc ^ std::to_integer<std::uint32_t>(bytes[at])) & 0xFFU];
  }
  return ~crc;
}

std::uint32_t crc32c(std::span<const std::byte> bytes) {
#ifdef __x86_64__
  if (hasInstruction()) return oneByInstruction(bytes);
#endif
  return crc32cByTable(bytes);
}

std::array<std::uint32_t, 3> crc32cOfThree(const std::array<const std::byte*, 3>& runs, std::size_t size) {
#ifdef __x86_64__
  if (hasInstruction()) return threeByInstruction(runs, size);
#endif
  return {crc32cByTable({runs[0], size}), crc32cByTable({runs[1], size}), crc32cByTable({runs[2], size})};
}

}  // namespace Core
