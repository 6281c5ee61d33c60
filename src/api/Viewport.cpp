#include "Sorvik/Viewport.h"

#include "api/EngineAccess.h"

namespace Sorvik {

struct Viewport::Impl {
  ::Math::Viewport viewport;
};

Viewport::Viewport() : impl_(std::make_unique<Impl>()) {}
Viewport::Viewport(const Viewport& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
Viewport::Viewport(Viewport&& other) noexcept = default;
Viewport& Viewport::operator=(const Viewport& other) {
  impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
Viewport& Viewport::operator=(Viewport&& other) noexcept = default;
Viewport::~Viewport() = default;

void Viewport::setX(std::int64_t x) { impl_->viewport.x = static_cast<std::int32_t>(x); }
std::int64_t Viewport::x() const { return impl_->viewport.x; }

void Viewport::setY(std::int64_t y) { impl_->viewport.y = static_cast<std::int32_t>(y); }
std::int64_t Viewport::y() const { return impl_->viewport.y; }

void Viewport::setWidth(std::uint64_t width) { impl_->viewport.width = width; }
std::uint64_t Viewport::width() const { return impl_->viewport.width; }

void Viewport::setHeight(std::uint64_t height) { impl_->viewport.height = height; }
std::uint64_t Viewport::height() const { return impl_->viewport.height; }

const ::Math::Viewport& EngineAccess::engine(const Viewport& viewport) { return viewport.impl_->viewport; }

}  // namespace Sorvik
