// Counts the points of a cloud within 25 units of its middle, and finds the highest of them.
#include <Sorvik/Sorvik.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const Sorvik::FileSystemLocation folder(std::filesystem::path(argv[1]).wstring());
  const Sorvik::PointCloud cloud(folder);
  float center[3];
  cloud.boundingBox().getCenter(center);

  std::uint64_t count = 0;
  float highest = -INFINITY;
  for (const Sorvik::PointChunk& chunk : allPointsInside(cloud, Sorvik::Sphere(center, 25), 0)) {
    count += chunk.size();
    const Sorvik::Span<const float> positions = chunk.positions();  // x, y, z a point
    for (std::size_t i = 2; i < positions.size(); i += 3) highest = std::max(highest, positions[i]);
  }
  std::printf("%llu points, the highest at %.3f\n", static_cast<unsigned long long>(count), highest);
}
