#include "octree/Location.h"

namespace Octree {

std::vector<std::shared_ptr<Location>> Location::externalAttributeLocations() const { return {}; }

}  // namespace Octree
