#include "octree/potree/NodeFetch.h"

#include <algorithm>

#include "core/Futures.h"

namespace PoTree {

bool NodeFetch::isReady() const {
  const bool here = !bytes.valid() || Core::isReady(bytes);
  return here &&
         std::all_of(externals.begin(), externals.end(), [](const auto& each) { return each.isReady(); });
}

void NodeFetch::waitFor(std::chrono::milliseconds most) const {
  if (bytes.valid() && !Core::isReady(bytes)) {
    bytes.wait_for(most);
    return;
  }
  const auto absent =
      std::find_if(externals.begin(), externals.end(), [](const auto& each) { return !each.isReady(); });
  if (absent != externals.end()) absent->waitFor(most);
}

bool ChunkFetch::isReady() const { return Core::isReady(bytes); }

}  // namespace PoTree
