// Which of some points lie in a turned box, and in a pipe between two places?
#include <Sorvik/Sorvik.h>

#include <array>
#include <cstdio>
#include <vector>

int main() {
  using Vector = std::array<float, 3>;
  std::printf("Sorvik %s\n", Sorvik::versionString().c_str());

  Sorvik::OrientedBoundingBox box(Vector{0, 0, 0}, Vector{2, 1, 1});
  box.setRotationByAxes(Vector{0, 1, 0}, Vector{-1, 0, 0}, Vector{0, 0, 1});  // a quarter turn about z
  const auto pipe = Sorvik::CylinderFinite::fromTwoPoints(Vector{0, 0, 0}, Vector{0, 0, 5}, 0.5F);

  const std::vector<Vector> points{{0, 2, 0}, {2, 0, 0}, {0.5F, 0, 4}, {0, 0, 6}};
  for (const Vector& p : points) {
    std::printf("(%g, %g, %g) box: %s, pipe: %s\n", p[0], p[1], p[2], box.inside(p) ? "inside" : "outside",
                pipe.inside(p) ? "inside" : "outside");
  }
}
