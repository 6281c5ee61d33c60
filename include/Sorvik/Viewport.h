#pragma once

#include <cstdint>
#include <memory>

#include "Sorvik/Export.h"

namespace Sorvik {

/// The rectangle of an image, in pixels, that a view-projection maps into, and the range of depths it maps to
/// (0 to 1, which cannot be changed).
///
/// A value with its own storage: copies are deep. A moved-from object may only be destroyed or assigned to.
/// Threads: const calls are safe together.
class SORVIK_API Viewport final {
 public:
  /// 640 × 480 pixels at (0, 0).
  Viewport();
  Viewport(const Viewport& other);
  Viewport(Viewport&& other) noexcept;
  Viewport& operator=(const Viewport& other);
  Viewport& operator=(Viewport&& other) noexcept;
  ~Viewport();

  /// The left edge, in pixels. Only the low 32 bits are kept, as a signed number.
  void setX(std::int64_t x);
  /// The 32 bits kept, widened with their sign.
  [[nodiscard]] std::int64_t x() const;

  /// The top edge, in pixels. Only the low 32 bits are kept, as a signed number.
  void setY(std::int64_t y);
  /// The 32 bits kept, widened with their sign.
  [[nodiscard]] std::int64_t y() const;

  /// In pixels; every value is stored, 0 too.
  void setWidth(std::uint64_t width);
  [[nodiscard]] std::uint64_t width() const;

  /// In pixels; every value is stored, 0 too.
  void setHeight(std::uint64_t height);
  [[nodiscard]] std::uint64_t height() const;

 private:
  friend struct EngineAccess;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
