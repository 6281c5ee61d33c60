#include "Sorvik/ClassificationInfo.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "api/EngineAccess.h"
#include "math/ClassificationInfo.h"

namespace Sorvik {

namespace {

::Math::Color toEngine(const Color& color) { return {color.r, color.g, color.b, color.a}; }
Color fromEngine(const ::Math::Color& color) {
  return {.b = color.b(), .g = color.g(), .r = color.r(), .a = color.a()};
}

}  // namespace

struct ClassificationInfo::Impl {
  ::Math::ClassificationInfo table;
};

ClassificationInfo::ClassificationInfo() : impl_(std::make_unique<Impl>()) {}
ClassificationInfo::ClassificationInfo(const ClassificationInfo& other)
    : impl_(std::make_unique<Impl>(*other.impl_)) {}
ClassificationInfo::ClassificationInfo(ClassificationInfo&& other) noexcept = default;
ClassificationInfo& ClassificationInfo::operator=(const ClassificationInfo& other) {
  if (this != &other) impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}
ClassificationInfo& ClassificationInfo::operator=(ClassificationInfo&& other) noexcept = default;
ClassificationInfo::~ClassificationInfo() = default;

ClassificationInfo ClassificationInfo::standardASPRSClasses() {
  ClassificationInfo info;
  info.impl_->table = ::Math::ClassificationInfo::standardASPRSClasses();
  return info;
}
ClassificationInfo ClassificationInfo::randomColoredClasses() {
  ClassificationInfo info;
  info.impl_->table = ::Math::ClassificationInfo::randomColoredClasses(256);
  return info;
}

void ClassificationInfo::add(std::size_t classId, const Color& color, std::string name, bool visible) {
  impl_->table.add(classId, toEngine(color), std::move(name), visible);
}
void ClassificationInfo::remove(std::size_t classId) { impl_->table.remove(classId); }
bool ClassificationInfo::contains(std::size_t classId) const { return impl_->table.contains(classId); }
void ClassificationInfo::clear() { impl_->table.clear(); }

void ClassificationInfo::setVisible(std::size_t classId, bool visible) {
  impl_->table.setVisible(classId, visible);
}
void ClassificationInfo::setAllVisible(bool visible) { impl_->table.setAllVisible(visible); }
bool ClassificationInfo::visible(std::size_t classId) const { return impl_->table.visible(classId); }

void ClassificationInfo::setColor(std::size_t classId, Color color) {
  impl_->table.setColor(classId, toEngine(color));
}
Color ClassificationInfo::color(std::size_t classId) const { return fromEngine(impl_->table.color(classId)); }

void ClassificationInfo::setName(std::size_t classId, const std::string& name) {
  impl_->table.setName(classId, name);
}
const std::string& ClassificationInfo::name(std::size_t classId) const { return impl_->table.name(classId); }

std::string ClassificationInfo::toJsonString() const {
  nlohmann::json value;
  to_json(value, impl_->table);
  return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

bool ClassificationInfo::fromJsonString(const std::string& text) {
  try {
    from_json(::Core::parseBoundedJson(text, ::Math::kClassTableText, "class table"), impl_->table);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

const ::Math::ClassificationInfo& EngineAccess::engine(const ClassificationInfo& info) {
  return info.impl_->table;
}

}  // namespace Sorvik
