#include "math/ClassificationInfo.h"

#include <utility>

namespace Math {

void ClassificationInfo::add(std::size_t classId, const Color& color, std::string name, bool visible) {
  classes_.insert_or_assign(classId, Class{color, std::move(name), visible});
}

void ClassificationInfo::setVisible(std::size_t classId, bool visible) {
  const auto found = classes_.find(classId);
  if (found != classes_.end()) found->second.visible = visible;
}

void ClassificationInfo::setAllVisible(bool visible) {
  for (auto& entry : classes_) entry.second.visible = visible;
}

void ClassificationInfo::setColor(std::size_t classId, const Color& color) {
  const auto found = classes_.find(classId);
  if (found != classes_.end()) found->second.color = color;
}

void ClassificationInfo::setName(std::size_t classId, const std::string& name) {
  const auto found = classes_.find(classId);
  if (found != classes_.end()) found->second.name = name;
}

bool ClassificationInfo::visible(std::size_t classId) const { return find(classId).visible; }
Color ClassificationInfo::color(std::size_t classId) const { return find(classId).color; }
const std::string& ClassificationInfo::name(std::size_t classId) const { return find(classId).name; }

const ClassificationInfo::Class& ClassificationInfo::find(std::size_t classId) const {
  static const Class kUnknown{.color = Color(255, 255, 255, 255), .name = {}, .visible = true};
  const auto found = classes_.find(classId);
  return found == classes_.end() ? kUnknown : found->second;
}

}  // namespace Math
