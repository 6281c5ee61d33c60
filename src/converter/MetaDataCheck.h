#pragma once

#include "octree/potree/MetaData.h"

namespace Converter {

/// Refuses metadata with which stock viewers would not open an octree: attribute lists that are empty or name
/// an attribute twice; attributes of a type that viewers cannot read (64-bit integers among them), whose
/// sizes disagree, whose min, max, scale and offset hold neither no number nor one an element, whose scale is
/// 0 or, as its offset, not finite, or whose histogram is not 256 counts of a one-byte attribute; no
/// "position", unless @p use allows it; "position" other than three int32, "rgb" other than three uint16; a
/// box that is no cube, and scale, offset and spacing that are not finite (or, but for the offset, not above
/// 0). Counts and sizes of the octree itself are not looked at.
/// @throws std::invalid_argument saying which key or attribute is wrong, and how.
void checkWritable(const PoTree::MetaData& metaData, PoTree::MetaDataUse use);

}  // namespace Converter
