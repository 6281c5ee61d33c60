#include "octree/OctreeNodeId.h"

namespace Octree {

std::string OctreeNodeId::name() const {
  std::string text = "r";
  for (std::uint64_t l = 1; l <= level(); ++l) text += static_cast<char>('0' + childIndexAt(l));
  return text;
}

}  // namespace Octree
