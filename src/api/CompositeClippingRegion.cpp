#include "Sorvik/CompositeClippingRegion.h"

#include <stdexcept>

#include "api/ClippingRegionImpl.h"
#include "regions/InvertedRegion.h"
#include "regions/ListRegions.h"

namespace Sorvik {
namespace {

/// The model to be shared; that of everything where there is none.
std::shared_ptr<::Math::ClippingRegion<float>> modelOf(const ClippingRegion& region) {
  const auto& model = EngineAccess::engine(region);
  return model ? model : std::make_shared<::Math::IntersectionRegion>();
}

template <class List>
std::shared_ptr<List> listOf(Span<const ClippingRegion> regions) {
  auto list = std::make_shared<List>();
  for (const ClippingRegion& region : regions) list->append(modelOf(region));
  return list;
}

/// The list behind a public region, which a text may have made another type.
template <class List>
List& asList(const ClippingRegion& region, const char* message) {
  auto* const list = dynamic_cast<List*>(EngineAccess::engine(region).get());
  if (list == nullptr) throw std::logic_error(message);
  return *list;
}

constexpr const char* kNoUnion = "Error: not a UnionRegion";
constexpr const char* kNoIntersection = "Error: not an IntersectionRegion";

}  // namespace

InvertedClippingRegion::InvertedClippingRegion(const ClippingRegion& region)
    : ClippingRegion(
          std::make_unique<Impl>(Impl{std::make_shared<::Math::InvertedRegion>(modelOf(region))})) {}

UnionClippingRegion::UnionClippingRegion() : UnionClippingRegion(Span<const ClippingRegion>()) {}
UnionClippingRegion::UnionClippingRegion(Span<const ClippingRegion> regions)
    : ClippingRegion(std::make_unique<Impl>(Impl{listOf<::Math::UnionRegion>(regions)})) {}
void UnionClippingRegion::addRegion(const ClippingRegion& region) {
  asList<::Math::UnionRegion>(*this, kNoUnion).append(modelOf(region));
}
void UnionClippingRegion::clear() { asList<::Math::UnionRegion>(*this, kNoUnion).clear(); }

IntersectionClippingRegion::IntersectionClippingRegion()
    : IntersectionClippingRegion(Span<const ClippingRegion>()) {}
IntersectionClippingRegion::IntersectionClippingRegion(Span<const ClippingRegion> regions)
    : ClippingRegion(std::make_unique<Impl>(Impl{listOf<::Math::IntersectionRegion>(regions)})) {}
void IntersectionClippingRegion::addRegion(const ClippingRegion& region) {
  asList<::Math::IntersectionRegion>(*this, kNoIntersection).append(modelOf(region));
}
void IntersectionClippingRegion::clear() {
  asList<::Math::IntersectionRegion>(*this, kNoIntersection).clear();
}

}  // namespace Sorvik
