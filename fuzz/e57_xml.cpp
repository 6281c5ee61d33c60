// Any bytes as the header and XML section of an E57 file: refused by FormatError, or what is told of points
// obeys the rules that the readers of packets rely on.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "core/FormatError.h"
#include "formats/e57/Document.h"
#include "formats/e57/Header.h"
#include "formats/e57/Pages.h"

namespace {

using Formats::E57::Scan;

void require(bool holds) {
  if (!holds) std::abort();
}

void checkHeader(std::span<const std::byte> bytes) {
  try {
    const auto header = Formats::E57::readHeader(bytes, "fuzz");
    const std::uint64_t end = Formats::E57::logicalOffset(header.fileLength);
    require(header.xmlLength <= Formats::E57::kLongestXml && header.xmlOffset <= end &&
            header.xmlLength <= end - header.xmlOffset);
  } catch (const Core::FormatError&) {
  }
}

void checkScan(const Scan& scan) {
  std::vector<bool> roles(Formats::E57::kNumRoles);
  for (const auto& field : scan.fields) {
    require(field.bits <= 64 && field.stream < scan.numStreams && std::isfinite(field.scale) &&
            std::isfinite(field.offset) && field.scale != 0);
    require(!roles.at(static_cast<std::size_t>(field.role)));
    roles[static_cast<std::size_t>(field.role)] = true;
  }
  for (const double number : scan.pose.rotation) require(std::abs(number) < 1.001);
  for (const double number : scan.pose.translation) require(std::isfinite(number));
  require(!scan.intensityLimits || scan.intensityLimits->usable());
  require(!scan.colorLimits || scan.colorLimits->usable());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  checkHeader(bytes);
  try {
    const auto document = Formats::E57::readDocument({bytes.begin(), bytes.end()}, "fuzz");
    for (const Scan& scan : document.scans) checkScan(scan);
  } catch (const Core::FormatError&) {
  }
  return 0;
}
