#pragma once

#include <array>
#include <string_view>

namespace Converter {

// The files of an octree, beside each other in its folder. A folder without metadata is no octree.
inline constexpr std::string_view kMetaDataFile = "metadata.json";
inline constexpr std::string_view kHierarchyFile = "hierarchy.bin";
inline constexpr std::string_view kOctreeFile = "octree.bin";
inline constexpr std::array kOctreeFiles{kMetaDataFile, kHierarchyFile, kOctreeFile};

}  // namespace Converter
