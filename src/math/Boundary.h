#pragma once

namespace Math::Boundary {

/// Leaves a parameter as it is, also outside the range that its user expects.
struct None {
  constexpr double operator()(double parameter) const { return parameter; }
};

}  // namespace Math::Boundary
