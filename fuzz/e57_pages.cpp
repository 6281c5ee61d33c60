// Any bytes as pages: all at once are accepted exactly when each of them alone is, by the plain checksum;
// offsets convert both ways.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "core/ByteReader.h"
#include "core/Crc32c.h"
#include "formats/e57/Pages.h"

namespace {

using Bytes = std::span<const std::byte>;

bool areAccepted(Bytes pages, std::uint64_t firstPage) {
  try {
    Formats::E57::verifyPages(pages, firstPage, "fuzz");
    return true;
  } catch (const Formats::E57::DamagedPage&) {
    return false;
  }
}

bool isSound(Bytes page) {
  const auto stored = Core::loadLittleEndian<std::uint32_t>(page.data() + Formats::E57::kPageContent);
  return Core::crc32cByTable(page.first(Formats::E57::kPageContent)) == __builtin_bswap32(stored);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Formats::E57::kPageSize;
  const Bytes bytes = std::as_bytes(std::span(data, size));
  if (Core::crc32c(bytes) != Core::crc32cByTable(bytes)) std::abort();
  const Bytes pages = bytes.first(size / kPageSize * kPageSize);
  bool allSound = true;
  for (std::size_t page = 0; page < pages.size(); page += kPageSize) {
    allSound = allSound && isSound(pages.subspan(page, kPageSize));
  }
  if (areAccepted(pages, 7) != allSound) std::abort();
  if (size >= sizeof(std::uint64_t)) {
    const auto physical = Core::loadLittleEndian<std::uint64_t>(bytes.data());
    const std::uint64_t logical = Formats::E57::logicalOffset(physical);
    if (Formats::E57::pointsAtContent(physical) && Formats::E57::physicalOffset(logical) != physical)
      std::abort();
  }
  return 0;
}
