#pragma once

#include <cstddef>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "core/BoundedJson.h"
#include "math/Color.h"

namespace Math {

/// The colour, name and visibility of point classes, by their ids. A value; const calls are safe together.
///
/// Of a class that it does not hold it says: visible, opaque white, without a name. Changing or removing such
/// a class does nothing.
class ClassificationInfo {
 public:
  /// What is known of one class.
  struct Class {
    Color color;
    std::string name;
    bool visible = true;

    bool operator==(const Class&) const = default;
  };

  /// The classes 0 to 22 of LAS 1.4 point formats 6 to 10, all visible.
  [[nodiscard]] static ClassificationInfo standardASPRSClasses();
  /// @p count visible classes from 0 on, "Class 0" and so forth, with colours that are as far apart as their
  /// number allows and neither dark nor pale: the same on every call. The first 4,000 at least are distinct.
  [[nodiscard]] static ClassificationInfo randomColoredClasses(std::size_t count);

  /// Replaces the class where there is one of that id.
  void add(std::size_t classId, const Color& color, std::string name, bool visible);
  void remove(std::size_t classId) { classes_.erase(classId); }
  [[nodiscard]] bool contains(std::size_t classId) const { return classes_.contains(classId); }
  void clear() { classes_.clear(); }

  void setVisible(std::size_t classId, bool visible);
  void setAllVisible(bool visible);
  [[nodiscard]] bool visible(std::size_t classId) const;
  void setColor(std::size_t classId, const Color& color);
  [[nodiscard]] Color color(std::size_t classId) const;
  void setName(std::size_t classId, const std::string& name);
  /// Valid until the table changes.
  [[nodiscard]] const std::string& name(std::size_t classId) const;

  /// All, by rising id.
  [[nodiscard]] const std::map<std::size_t, Class>& classes() const { return classes_; }

  bool operator==(const ClassificationInfo& other) const { return classes_ == other.classes_; }

 private:
  [[nodiscard]] const Class& find(std::size_t classId) const;

  std::map<std::size_t, Class> classes_;
};

/// What a text of a class table may ask of its reader.
inline constexpr Core::JsonLimits kClassTableText{.numBytes = 16 << 20, .numLevels = 16};

/// {"classes": [{"id": 2, "name": "Ground", "color": [r, g, b, a], "visible": true}, ...]} by rising id.
void to_json(nlohmann::json& value, const ClassificationInfo& table);

/// Replaces the table. All four members of a class are required, in any order; others are ignored.
/// @throws Core::FormatError when a member is missing or wrong, or an id comes twice; the table is then as it
/// was.
void from_json(const nlohmann::json& value, ClassificationInfo& table);

}  // namespace Math
