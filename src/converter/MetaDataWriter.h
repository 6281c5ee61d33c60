#pragma once

#include <cstdint>
#include <string>

#include "octree/potree/MetaData.h"

namespace Converter {

/// The text of a metadata.json, version 2.0. Pure. Numbers have 17 significant digits, bytes in texts that
/// are not UTF-8 become U+FFFD. A minimum or maximum that is missing or not finite is written as 0, and the
/// maximum of a double attribute other than "gps-time" is raised above its minimum, since viewers divide by
/// the difference. "NormalX", "NormalY" and "NormalZ" of type double get 0 and 1, whatever theirs are, so
/// that viewers show normals as they are. Attributes without scale and offset get 1 and 0.
/// @param metaData        accepted by checkWritable() (MetaDataCheck.h); the version is not used.
/// @param hierarchyDepth  level of the deepest node.
[[nodiscard]] std::string metaDataText(const PoTree::MetaData& metaData, std::uint64_t hierarchyDepth);

}  // namespace Converter
