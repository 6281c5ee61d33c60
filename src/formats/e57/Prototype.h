#pragma once

#include <pugixml.hpp>
#include <set>
#include <string>
#include <string_view>

#include "formats/e57/Scan.h"

namespace Formats::E57 {

/// Describes what goes wrong in a document: which part of which file.
struct XmlPlace {
  std::string_view file;
  std::string part;  ///< "scan 3"

  /// @throws Core::FormatError.
  [[noreturn]] void refuse(std::string_view what, std::string_view expected, std::string_view found) const;
};

/// Takes the fields of a point record, in the order of their byte streams, into @p scan.
/// @param prototype  the element of that name; nested structures count by their leaves.
/// @param leftOut    gets the names of fields that are not known.
/// @throws Core::FormatError for fields that cannot be: a minimum above the maximum, a scale of 0, a known
///         field that is a text.
void readPrototype(const pugi::xml_node& prototype, const XmlPlace& place, Scan& scan,
                   std::set<std::string>& leftOut);

}  // namespace Formats::E57
