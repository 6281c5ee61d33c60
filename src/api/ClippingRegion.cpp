#include "Sorvik/ClippingRegion.h"

#include <exception>
#include <stdexcept>

#include "api/Arguments.h"
#include "api/ClippingRegionImpl.h"
#include "regions/RegionJson.h"

namespace Sorvik {

ClippingRegion::ClippingRegion() : impl_(std::make_unique<Impl>()) {}
ClippingRegion::ClippingRegion(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
ClippingRegion::ClippingRegion(const ClippingRegion& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
ClippingRegion::ClippingRegion(ClippingRegion&& other) noexcept = default;
ClippingRegion& ClippingRegion::operator=(const ClippingRegion& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
ClippingRegion& ClippingRegion::operator=(ClippingRegion&& other) noexcept = default;
ClippingRegion::~ClippingRegion() = default;

bool ClippingRegion::inside(Span<const float> point) const {
  const auto p = checkedPoint<3>(point, "Error: point.size() != 3");
  return !impl_->region || impl_->region->pointInside(p);
}

std::string ClippingRegion::typeName() const {
  return impl_->region ? std::string(impl_->region->typeName()) : std::string();
}

std::string ClippingRegion::toJsonString() const { return ::Math::regionText(impl_->region.get()); }

bool ClippingRegion::fromJsonString(const std::string& text) {
  try {
    impl_->region = ::Math::parseRegion(text);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

ClippingRegion ClippingRegion::parse(const std::string& text, Span<const double> origin) {
  checkArgument(origin.empty() || origin.size() == 3, "Error: origin.size() != 3");
  ::Math::RegionOrigin from;
  for (std::size_t i = 0; i < origin.size(); ++i) from[static_cast<int>(i)] = origin[i];
  try {
    return ClippingRegion(std::make_unique<Impl>(Impl{::Math::parseRegion(text, from)}));
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    throw std::runtime_error(error.what());
  }
}

const std::shared_ptr<::Math::ClippingRegion<float>>& EngineAccess::engine(const ClippingRegion& region) {
  return region.impl_->region;
}

}  // namespace Sorvik
