#include "Sorvik/Location.h"

#include <filesystem>
#include <utility>

#include "api/EngineAccess.h"
#include "core/WideText.h"
#include "octree/potree/FileSystemLocation.h"
#include "octree/potree/HttpsLocation.h"

namespace Sorvik {

struct Location::Impl {
  std::shared_ptr<::Octree::Location> location;
};

Location::Location() : impl_(std::make_unique<Impl>()) {}
Location::Location(const Location& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
Location::Location(Location&& other) noexcept = default;
Location& Location::operator=(const Location& other) {
  if (this == &other) return *this;
  if (!impl_) impl_ = std::make_unique<Impl>();
  impl_->location = other.impl_->location;
  return *this;
}
Location& Location::operator=(Location&& other) noexcept {
  impl_.swap(other.impl_);
  return *this;
}
Location::~Location() = default;

bool Location::exists() const { return impl_->location && impl_->location->exists(); }

std::shared_ptr<::Octree::Location>& EngineAccess::engine(Location& location) {
  return location.impl_->location;
}
const std::shared_ptr<::Octree::Location>& EngineAccess::engine(const Location& location) {
  return location.impl_->location;
}

FileSystemLocation::FileSystemLocation(const std::wstring& path) {
  EngineAccess::engine(*this) =
      std::make_shared<::PoTree::FileSystemLocation>(std::filesystem::path(::Core::utf8FromWide(path)));
}

HttpsLocation::HttpsLocation(const std::string& url) {
  EngineAccess::engine(*this) = std::make_shared<::PoTree::HttpsLocation>(url, nullptr);
}

}  // namespace Sorvik
