// Clipping regions: tests of columns of points against the same shapes called one by one, and walks through a
// region against walks through its shape, on a warm cache. Answers are compared first.
//   region_bench [POINTS]
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <random>
#include <utility>
#include <vector>

#include "Rounds.h"
#include "octree/QueryPoints.h"
#include "octree/potree/FileSystemLocation.h"
#include "regions/ListRegions.h"
#include "regions/ProjectedClippingRegion.h"
#include "regions/RegionShape.h"
#include "regions/VolumetricClippingRegion.h"
#include "support/OctreeBuilder.h"
#include "support/PointRecords.h"
#include "support/TempFolder.h"

namespace {

using Region = Math::ClippingRegion<float>;
using Sphere = Math::NSphere<float, 3>;
using Box = Math::NBoundingBox<float, 3>;
using Polygon = Math::Polygon<float>;
using Point = Math::Point<float, 3>;
template <class Shape>
using Volumetric = Math::VolumetricClippingRegion<Shape>;

/// Depths from 0 to 1, a thousand pixels for the extent from -1 to 1.
constexpr Math::RegionViewport kViewport{0, 0, 1000, 1000, 0, 1};

std::vector<float> randomPositions(std::size_t count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> uniform(-1, 1);
  std::vector<float> positions(3 * count);
  for (float& coordinate : positions) coordinate = uniform(random);
  return positions;
}

/// A round outline with bays; its edges are as short as a digitised outline's, or zigzag when @p jagged.
Polygon outline(std::size_t numVertices, bool jagged) {
  std::mt19937 random(2);
  std::uniform_real_distribution<float> uniform(0.3F, 1);
  std::vector<float> interleaved;
  for (std::size_t i = 0; i < numVertices; ++i) {
    const float angle =
        2 * std::numbers::pi_v<float> * static_cast<float>(i) / static_cast<float>(numVertices);
    const float radius = 450 * (jagged ? uniform(random) : 0.7F + 0.3F * std::sin(9 * angle));
    interleaved.push_back(500 + radius * std::cos(angle));
    interleaved.push_back(500 + radius * std::sin(angle));
  }
  return Polygon(interleaved);
}

template <class Inside>
std::vector<std::uint8_t> oneByOne(const std::vector<float>& positions, const Inside& inside) {
  std::vector<std::uint8_t> marks(positions.size() / 3);
  for (std::size_t i = 0; i < marks.size(); ++i) {
    marks[i] = inside(Point{{positions[3 * i], positions[3 * i + 1], positions[3 * i + 2]}}) ? 1 : 0;
  }
  return marks;
}

/// The column test of a region against @p inside for each point.
template <class Inside>
void benchColumn(const char* what, const std::vector<float>& positions, const Region& region,
                 const Inside& inside) {
  const auto ours = [&] {
    std::vector<std::uint8_t> marks(positions.size() / 3);
    Math::markInside(region, positions, marks);
    return marks;
  };
  const auto theirs = [&] { return oneByOne(positions, inside); };
  if (ours() != theirs()) {
    std::printf("%s: the answers differ\n", what);
    std::exit(1);
  }
  Bench::report(what, "one by one", Bench::alternate(9, Bench::processorSeconds, ours, theirs),
                positions.size() / 3);
}

void benchColumns(std::size_t count) {
  const std::vector<float> positions = randomPositions(count);
  const Volumetric<Sphere> ball(Sphere{{{0, 0, 0}}, 0.8F});
  benchColumn("column, sphere", positions, ball, [&](const Point& p) { return ball.shape().inside(p); });
  benchColumn("column, sphere, region called one by one", positions, ball,
              [&](const Point& p) { return ball.pointInside(p); });
  const Volumetric<Sphere> turned(ball.shape(),
                                  {0.6F, 0.8F, 0, 0, -0.8F, 0.6F, 0, 0, 0, 0, 1, 0, 0.1F, 0, 0, 1});
  benchColumn("column, transformed sphere", positions, turned,
              [&](const Point& p) { return turned.pointInside(p); });

  Math::UnionRegion hundred;
  std::vector<Sphere> balls;
  for (std::size_t i = 0; i < 100; ++i) {
    balls.push_back({{{positions[3 * i], positions[3 * i + 1], positions[3 * i + 2]}}, 0.1F});
    hundred.append(std::make_shared<Volumetric<Sphere>>(balls.back()));
  }
  benchColumn("column, union of 100 spheres", positions, hundred, [&](const Point& p) {
    return std::any_of(balls.begin(), balls.end(), [&](const Sphere& sphere) { return sphere.inside(p); });
  });

  for (const std::size_t numVertices : {12U, 1000U}) {
    for (const bool jagged : {false, true}) {
      const Math::ProjectedClippingRegion<Polygon> region(outline(numVertices, jagged), kViewport,
                                                          Math::kIdentity4);
      char what[64];
      std::snprintf(what, sizeof what, "column, %s polygon of %zu", jagged ? "jagged" : "smooth",
                    numVertices);
      benchColumn(what, positions, region, [&](const Point& p) {
        const Math::PixelScale scale{1000, 1000, 0, 0};
        return 0 <= p[2] && p[2] <= 1 && region.shape().inside(scale.apply(p[0], p[1]));
      });
    }
  }
}

struct Cloud {
  std::shared_ptr<Octree::Octree> octree;
  std::shared_ptr<Octree::OctreeNodeCache> cache = std::make_shared<Octree::OctreeNodeCache>(10'000);

  template <class Shape>
  [[nodiscard]] std::size_t count(const Shape& shape) const {
    std::size_t points = 0;
    const Octree::Algorithm::QueryPointsInsideIterator<Shape> end;
    for (auto it = Octree::allPointsInside(octree, cache, shape, 0, {}); !(it == end); ++it) {
      points += (*it)->points().size();
    }
    return points;
  }
};

/// Walks through regions against walks through shapes that hold the same points, short ones over and over.
template <class Shape>
void benchWalks(const char* what, const Cloud& cloud, const std::vector<Shape>& shapes,
                const std::vector<Math::RegionShape>& regions, int repeats) {
  const auto countAll = [&](const auto& list) {
    std::size_t points = 0;
    for (int i = 0; i < repeats; ++i) {
      for (const auto& shape : list) points += cloud.count(shape);
    }
    return points;
  };
  const auto ours = [&] { return countAll(regions); };
  const auto theirs = [&] { return countAll(shapes); };
  if (ours() != theirs()) {
    std::printf("%s: the answers differ: %zu and %zu points\n", what, ours(), theirs());
    std::exit(1);
  }
  Bench::report(what, "shape", Bench::alternate(9, Bench::processorSeconds, ours, theirs),
                shapes.size() * static_cast<std::size_t>(repeats));
}

/// 40 shapes of a size about random places, each as it is and as a region.
template <class Make>
void benchWalksOf(const char* what, const Cloud& cloud, float size, const Make& make) {
  std::mt19937 random(3);
  const Box bounds = cloud.octree->boundingBox();
  std::vector<decltype(make(Point{}, 0.0F).first)> shapes;
  std::vector<Math::RegionShape> regions;
  for (int i = 0; i < 40; ++i) {
    Point center;
    for (int axis = 0; axis < 3; ++axis) {
      center[axis] =
          std::uniform_real_distribution<float>(bounds.minimum[axis], bounds.maximum[axis])(random);
    }
    auto [shape, region] = make(center, size * bounds.size()[0]);
    shapes.push_back(std::move(shape));
    regions.push_back({std::move(region)});
  }
  char text[64];
  std::snprintf(text, sizeof text, "walk, %s of %g of the cloud", what, static_cast<double>(size));
  benchWalks(text, cloud, shapes, regions, static_cast<int>(0.4F / size));
}

template <class Shape>
std::pair<Shape, std::shared_ptr<Region>> plain(const Shape& shape) {
  return {shape, std::make_shared<Volumetric<Shape>>(shape)};
}

Box boxAround(const Point& center, float half) {
  Box box;
  for (int axis = 0; axis < 3; ++axis) {
    box.minimum[axis] = center[axis] - half;
    box.maximum[axis] = center[axis] + half;
  }
  return box;
}

/// By a region that has a matrix to go through.
std::pair<Sphere, std::shared_ptr<Region>> movedBall(const Point& center, float radius) {
  const Math::Matrix4<float> move{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, center[0], center[1], center[2], 1};
  return {{center, radius}, std::make_shared<Volumetric<Sphere>>(Sphere{{{0, 0, 0}}, radius}, move)};
}

/// By a union with a smaller ball inside.
std::pair<Sphere, std::shared_ptr<Region>> unitedBall(const Point& center, float radius) {
  const auto list = std::make_shared<Math::UnionRegion>();
  list->append(std::make_shared<Volumetric<Sphere>>(Sphere{center, radius}));
  list->append(std::make_shared<Volumetric<Sphere>>(Sphere{center, radius / 2}));
  return {{center, radius}, list};
}

void benchWalks(std::size_t points) {
  const Testing::TempFolder folder;
  Testing::buildOctree(Testing::surveyRecords(points, 1), PoTree::Encoding::Uncompressed,
                       folder.path() / "cloud");
  const Cloud cloud{std::make_shared<Octree::Octree>(
      std::make_shared<PoTree::FileSystemLocation>(folder.path() / "cloud"), 1.0)};
  for (const float size : {0.01F, 0.05F, 0.2F}) {
    benchWalksOf("sphere", cloud, size, [](const Point& c, float r) { return plain(Sphere{c, r}); });
    benchWalksOf("box", cloud, size, [](const Point& c, float r) { return plain(boxAround(c, r)); });
    benchWalksOf("cylinder", cloud, size, [](const Point& c, float r) {
      return plain(Math::Cylinder<float>{c, {{0, 0.6F, 0.8F}}, r});
    });
    benchWalksOf("moved sphere", cloud, size, movedBall);
    benchWalksOf("sphere and its core", cloud, size, unitedBall);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::size_t points = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 3'000'000;
  benchColumns(200'000);
  benchWalks(points);
}
