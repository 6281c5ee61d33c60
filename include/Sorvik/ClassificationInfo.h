#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "Sorvik/Color.h"
#include "Sorvik/Export.h"

namespace Sorvik {

/// A table of point classes: a colour, a name and whether points of the class are shown, by the class's id.
///
/// Of a class that it does not hold it says: visible, opaque white, with an empty name. Changing or removing
/// such a class does nothing.
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API ClassificationInfo final {
 public:
  /// No class.
  ClassificationInfo();
  ClassificationInfo(const ClassificationInfo& other);
  ClassificationInfo(ClassificationInfo&& other) noexcept;
  ClassificationInfo& operator=(const ClassificationInfo& other);
  ClassificationInfo& operator=(ClassificationInfo&& other) noexcept;
  ~ClassificationInfo();

  /// The classes 0 to 22 of LAS 1.4 (ASPRS) with their names, all visible.
  [[nodiscard]] static ClassificationInfo standardASPRSClasses();
  /// The classes 0 to 255, all visible, with colours that are easy to tell apart, the same on every call.
  [[nodiscard]] static ClassificationInfo randomColoredClasses();

  /// Adds a class, or replaces the one of that id.
  void add(std::size_t classId, const Color& color, std::string name, bool visible);
  void remove(std::size_t classId);
  [[nodiscard]] bool contains(std::size_t classId) const;
  void clear();

  void setVisible(std::size_t classId, bool visible);
  void setAllVisible(bool visible);
  [[nodiscard]] bool visible(std::size_t classId) const;

  void setColor(std::size_t classId, Color color);
  [[nodiscard]] Color color(std::size_t classId) const;

  void setName(std::size_t classId, const std::string& name);
  /// Valid until the table is changed or destroyed.
  [[nodiscard]] const std::string& name(std::size_t classId) const;

  /// {"classes":[{"color":[r,g,b,a],"id":2,"name":"Ground","visible":true}]}, without blanks, by rising id.
  /// What is not UTF-8 in a name is written as U+FFFD.
  [[nodiscard]] std::string toJsonString() const;
  /// Replaces the table by that of such a text. All four members of a class are required; others are ignored.
  /// @return false, with the table as it was, when the text is no JSON, longer than 16 MiB, nested deeper
  /// than 16 levels, or names a member or an id twice, or a member is missing or wrong.
  bool fromJsonString(const std::string& text);

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
