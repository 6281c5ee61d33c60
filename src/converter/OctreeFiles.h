#pragma once

#include <array>

namespace Converter {

// The files of an octree, beside each other in its folder. A folder without metadata is no octree.
inline constexpr const char* kMetaDataFile = "metadata.json";
inline constexpr const char* kHierarchyFile = "hierarchy.bin";
inline constexpr const char* kOctreeFile = "octree.bin";
inline constexpr std::array kOctreeFiles{kMetaDataFile, kHierarchyFile, kOctreeFile};

}  // namespace Converter
