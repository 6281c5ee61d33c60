#include "converter/ClosedFormats.h"

#include <algorithm>
#include <array>

namespace Converter {
namespace {

struct ClosedFormat {
  std::string_view extension;
  std::string_view kind;
  std::string_view software;  // that exports its points
};

constexpr std::array<ClosedFormat, 6> kClosedFormats{{
    {".rxp", "a RIEGL scan", "RiSCAN PRO"},
    {".rdbx", "a RIEGL point database", "RiSCAN PRO"},
    {".3dd", "a RIEGL scan", "RiSCAN PRO"},
    {".rcs", "an Autodesk ReCap scan", "ReCap"},
    {".zfs", "a Zoller+Froehlich scan", "LaserControl"},
    {".zfprj", "a Zoller+Froehlich project", "LaserControl"},
}};

}  // namespace

std::optional<std::string> closedFormatReason(std::string_view extension) {
  const auto* const found =
      std::find_if(kClosedFormats.begin(), kClosedFormats.end(),
                   [&](const ClosedFormat& format) { return format.extension == extension; });
  if (found == kClosedFormats.end()) return std::nullopt;
  std::string reason = "is ";
  reason.append(found->kind).append(" (").append(extension);
  reason +=
      "), whose format its vendor has not published: a reader for its points is missing; export them as ";
  reason.append("E57 or LAS, as ").append(found->software).append(" does, and convert these files");
  return reason;
}

}  // namespace Converter
