#pragma once

#include <cstdint>

namespace Math {

/// Red, green, blue, alpha in memory order, 8 bits each.
class Color {
 public:
  constexpr Color() = default;
  constexpr Color(std::uint8_t r, std::uint8_t g, std::uint8_t b, std::uint8_t a)
      : r_(r), g_(g), b_(b), a_(a) {}

  constexpr void set(std::uint8_t r, std::uint8_t g, std::uint8_t b, std::uint8_t a) {
    *this = Color(r, g, b, a);
  }

  [[nodiscard]] constexpr std::uint8_t r() const { return r_; }
  [[nodiscard]] constexpr std::uint8_t g() const { return g_; }
  [[nodiscard]] constexpr std::uint8_t b() const { return b_; }
  [[nodiscard]] constexpr std::uint8_t a() const { return a_; }

  bool operator==(const Color&) const = default;

 private:
  std::uint8_t r_ = 0;
  std::uint8_t g_ = 0;
  std::uint8_t b_ = 0;
  std::uint8_t a_ = 255;
};

static_assert(sizeof(Color) == 4);

}  // namespace Math
