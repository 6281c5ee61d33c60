#include "formats/e57/Header.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "core/ByteReader.h"
#include "formats/UnsupportedFormat.h"
#include "formats/e57/Pages.h"

namespace Formats::E57 {
namespace {

constexpr std::string_view kSignature = "ASTM-E57";
constexpr std::uint64_t kLengthAt = 16;
constexpr std::uint64_t kXmlOffsetAt = 24;
constexpr std::uint64_t kXmlLengthAt = 32;
constexpr std::uint64_t kPageSizeAt = 40;

void checkXml(std::uint64_t physical, const Header& header, std::string_view name) {
  const std::uint64_t content = logicalOffset(header.fileLength);
  if (physical < kHeaderSize || !pointsAtContent(physical) || physical >= header.fileLength) {
    throw Core::FormatError(
        {name, kXmlOffsetAt}, "offset of the XML section",
        "the place of a content byte behind the header and before byte " + std::to_string(header.fileLength),
        std::to_string(physical));
  }
  const std::uint64_t room = std::min(content - header.xmlOffset, kLongestXml);
  if (header.xmlLength == 0 || header.xmlLength > room) {
    throw Core::FormatError({name, kXmlLengthAt}, "length of the XML section", "1 to " + std::to_string(room),
                            std::to_string(header.xmlLength));
  }
}

}  // namespace

Header readHeader(std::span<const std::byte> bytes, std::string_view name) {
  Core::ByteReader reader(bytes, {name});
  const auto signature = reader.take(kSignature.size(), "signature");
  if (std::memcmp(signature.data(), kSignature.data(), kSignature.size()) != 0) {
    throw UnsupportedFormat({name}, "signature", std::string(kSignature), "other bytes: this is no E57 file");
  }
  const auto major = reader.read<std::uint32_t>("major version");
  if (major != 1) throw UnsupportedFormat({name, 8}, "major version", "1", std::to_string(major));
  (void)reader.read<std::uint32_t>("minor version");
  Header header;
  header.fileLength = reader.read<std::uint64_t>("file length");
  const auto xmlOffset = reader.read<std::uint64_t>("offset of the XML section");
  header.xmlOffset = logicalOffset(xmlOffset);
  header.xmlLength = reader.read<std::uint64_t>("length of the XML section");
  const auto pageSize = reader.read<std::uint64_t>("page size");
  if (pageSize != kPageSize) {
    throw UnsupportedFormat({name, kPageSizeAt}, "page size", std::to_string(kPageSize),
                            std::to_string(pageSize));
  }
  checkXml(xmlOffset, header, name);
  return header;
}

void checkFileLength(const Header& header, std::uint64_t fileSize, std::string_view name) {
  if (header.fileLength == fileSize && fileSize % kPageSize == 0) return;
  throw Core::FormatError({name, kLengthAt}, "the file is truncated or damaged: its length",
                          "the stated " + std::to_string(header.fileLength) + " bytes in whole pages of " +
                              std::to_string(kPageSize),
                          std::to_string(fileSize));
}

}  // namespace Formats::E57
