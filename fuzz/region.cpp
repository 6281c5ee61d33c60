// The texts of clipping regions: refused by an exception, or a region that is written and read back, and
// whose box tests do not contradict its points.
#include <cmath>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "regions/RegionJson.h"

namespace {

using Region = Math::ClippingRegion<float>;

std::unique_ptr<Region> parse(std::string_view text) {
  try {
    return Math::parseRegion(text);
  } catch (const std::exception&) {
    return nullptr;
  }
}

void checkBox(const Region& region, const Region::Box& box) {
  const bool intersects = region.boxIntersects(box);
  const bool inside = region.boxInside(box);
  for (unsigned corner = 0; corner < 8; ++corner) {
    Math::Point<float, 3> p;
    for (int axis = 0; axis < 3; ++axis) {
      p[axis] = (corner >> static_cast<unsigned>(axis) & 1U) != 0 ? box.maximum[axis] : box.minimum[axis];
    }
    const bool pointInside = region.pointInside(p);
    if ((pointInside && !intersects) || (!pointInside && inside)) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::unique_ptr<Region> region = parse(text);
  if (!region) return 0;
  const std::string written = Math::regionText(region.get());
  const std::unique_ptr<Region> again = parse(written);
  if (!again || Math::regionText(again.get()) != written) std::abort();
  for (const float extent : {0.0F, 0.5F, 10.0F, 1e4F}) {
    checkBox(*region, {{{-extent, 1, 0}}, {{1, 1 + extent, extent}}});
  }
  return 0;
}
