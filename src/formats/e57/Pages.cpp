#include "formats/e57/Pages.h"

#include <charconv>
#include <string>

#include "core/ByteReader.h"
#include "core/Crc32c.h"

namespace Formats::E57 {
namespace {

std::string hex(std::uint32_t number) {
  char digits[8];
  const auto end = std::to_chars(digits, digits + sizeof digits, number, 16).ptr;
  return "0x" + std::string(digits, end);
}

void check(const std::byte* page, std::uint32_t expected, std::uint64_t number, std::string_view name) {
  const std::uint32_t found = __builtin_bswap32(Core::loadLittleEndian<std::uint32_t>(page + kPageContent));
  if (found == expected) return;
  throw DamagedPage({name, number * kPageSize}, "checksum of page " + std::to_string(number), hex(expected),
                    hex(found));
}

}  // namespace

void verifyPages(std::span<const std::byte> pages, std::uint64_t firstPage, std::string_view name) {
  const std::size_t count = pages.size() / kPageSize;
  const std::byte* page = pages.data();
  std::size_t done = 0;
  for (; done + 3 <= count; done += 3, page += 3 * kPageSize) {
    const auto crcs = Core::crc32cOfThree({page, page + kPageSize, page + 2 * kPageSize}, kPageContent);
    for (std::size_t i = 0; i < 3; ++i) check(page + i * kPageSize, crcs[i], firstPage + done + i, name);
  }
  for (; done < count; ++done, page += kPageSize) {
    check(page, Core::crc32c({page, kPageContent}), firstPage + done, name);
  }
}

}  // namespace Formats::E57
