#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "formats/e57/Scan.h"

namespace Formats::E57 {

/// What the XML section of a file says of its points.
struct Document {
  std::vector<Scan> scans;            ///< all of `data3D`, those without points too
  std::string coordinateMetadata;     ///< the coordinate system as text, WKT by the standard; or empty
  std::vector<std::string> warnings;  ///< what was found odd and passed over, each a sentence
};

/// Parses an XML section. Pictures, groupings and unknown elements are passed over; no entity but XML's own
/// five is expanded, documents with a type declaration are refused, and so are elements nested more than 100
/// deep. Takes memory of at most 16 times the text.
/// @param text  is changed while it is parsed; blanks and zeros at its end, and a mark of UTF-8 at its
///              beginning are no harm.
/// @param name  the file's.
/// @throws Core::FormatError naming scan, element and value; UnsupportedFormat for points that are compressed
///         other than by the packing of bits.
[[nodiscard]] Document readDocument(std::vector<std::byte> text, std::string_view name);

}  // namespace Formats::E57
