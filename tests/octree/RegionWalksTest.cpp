// Region walks over real clouds against a brute-force filter over all points.
#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

#include "octree/QueryPoints.h"
#include "octree/potree/FileSystemLocation.h"
#include "support/SampleData.h"

namespace {

using Math::NBoundingBox;
using Math::NOrientedBoundingBox;
using Math::NSphere;
using Point = Math::Point<float, 3>;
using OctreePtr = std::shared_ptr<Octree::Octree>;
using CachePtr = std::shared_ptr<Octree::OctreeNodeCache>;

constexpr int kShapesPerKind = 40;  // of nine kinds, on each cloud

/// What a walk handed out, as a multiset: the number of points and a sum of hashes over all attributes.
struct Multiset {
  std::size_t size = 0;
  std::uint64_t hashes = 0;

  void add(const Math::NodePoints& points, std::size_t i) {
    std::uint64_t hash = points.intensities()[i] | std::uint64_t{points.classIndices()[i]} << 16U;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      std::uint32_t bits = 0;
      std::memcpy(&bits, &points.positions()[3 * i + axis], sizeof bits);
      hash = (hash ^ bits) * 0x9E3779B97F4A7C15U;
      hash ^= hash >> 29U;
    }
    const Math::Color color = points.colors()[i];
    hash = (hash ^ static_cast<unsigned>(color.r() | color.g() << 8 | color.b() << 16)) * 0xBF58476D1CE4E5B9U;
    hashes += hash ^ hash >> 32U;
    ++size;
  }

  bool operator==(const Multiset&) const = default;
};

Point pointAt(const Math::NodePoints& points, std::size_t i) {
  const std::span<const float> positions = points.positions();
  return {{positions[3 * i], positions[3 * i + 1], positions[3 * i + 2]}};
}

/// The inside test of the shape itself, plane shapes on x and y.
template <class Shape>
bool accepts(const Shape& shape, const Point& p) {
  if constexpr (requires { shape.inside(p); }) {
    return shape.inside(p);
  } else {
    return shape.inside(Math::Point<float, 2>{{p[0], p[1]}});
  }
}

template <class Shape>
Multiset walk(const OctreePtr& octree, const CachePtr& cache, const Shape& shape, float minSpacing) {
  Multiset found;
  const Octree::Algorithm::QueryPointsInsideIterator<Shape> end;
  for (auto it = Octree::allPointsInside(octree, cache, shape, minSpacing, {}); !(it == end); ++it) {
    const Math::NodePoints& points = (*it)->points();
    for (std::size_t i = 0; i < points.size(); ++i) found.add(points, i);
  }
  return found;
}

/// All nodes of the plain walk, which the brute force filters.
std::vector<std::shared_ptr<Octree::OctreeNodeCache::CacheEntry>> allNodes(const OctreePtr& octree,
                                                                           const CachePtr& cache,
                                                                           float minSpacing) {
  std::vector<std::shared_ptr<Octree::OctreeNodeCache::CacheEntry>> nodes;
  const Octree::Algorithm::QueryPointsIterator end;
  for (auto it = Octree::allPoints(octree, cache, minSpacing, {}); !(it == end); ++it) nodes.push_back(*it);
  return nodes;
}

/// Draws shapes of all sizes about the box of a cloud, many with borders exactly on points.
class ShapeSource {
 public:
  ShapeSource(unsigned seed, const NBoundingBox<float, 3>& box, std::vector<Point> samples)
      : random_(seed), box_(box), samples_(std::move(samples)) {
    for (int axis = 0; axis < 3; ++axis) longest_ = std::max(longest_, box.size()[axis]);
  }

  Point sample() { return samples_[random_() % samples_.size()]; }
  float unit() { return std::uniform_real_distribution<float>(0, 1)(random_); }
  /// From a thousandth of the cloud to more than all of it, small ones as often as large ones.
  float size() { return longest_ * std::pow(10.0F, -3.0F + 3.3F * unit()); }
  Point anywhere() {
    Point p;
    for (int axis = 0; axis < 3; ++axis)
      p[axis] = box_.minimum[axis] + (1.4F * unit() - 0.2F) * box_.size()[axis];
    return p;
  }
  Point center() { return unit() < 0.5F ? sample() : anywhere(); }
  Point direction() {
    std::normal_distribution<float> normal;
    Point d{{normal(random_), normal(random_), normal(random_)}};
    const float length = std::sqrt(Math::dot(d, d));
    for (int axis = 0; axis < 3; ++axis) d[axis] /= length;
    return d;
  }

  template <int N>
  NBoundingBox<float, N> box() {
    NBoundingBox<float, N> result;
    for (const Point& corner : {sample(), unit() < 0.5F ? sample() : anywhere()}) {
      Math::Point<float, N> p;
      for (int axis = 0; axis < N; ++axis) p[axis] = corner[axis];
      result.expand(p);
    }
    return result;
  }

  template <int N>
  NSphere<float, N> sphere() {
    NSphere<float, N> result;
    const Point at = center();
    for (int axis = 0; axis < N; ++axis) result.center[axis] = at[axis];
    result.radius = size();
    return result;
  }

  NOrientedBoundingBox<float, 3> orientedBox() {
    NOrientedBoundingBox<float, 3> result;
    const Point q = direction();
    const float angle = unit() * std::numbers::pi_v<float>;
    const float s = std::sin(angle);
    result.rotation = Math::rotationFromQuaternion({q[0] * s, q[1] * s, q[2] * s, std::cos(angle)});
    result.center = center();
    result.halfSize = {{size(), size(), size()}};
    return result;
  }

  NOrientedBoundingBox<float, 2> orientedRectangle() {
    NOrientedBoundingBox<float, 2> result;
    const float angle = unit() * 2 * std::numbers::pi_v<float>;
    const Point at = center();
    result.center = {{at[0], at[1]}};
    result.halfSize = {{size(), size()}};
    result.rotation = {std::cos(angle), std::sin(angle), -std::sin(angle), std::cos(angle)};
    return result;
  }

  Math::Polygon<float> polygon() {
    std::vector<float> vertices;
    const Point at = center();
    const float radius = size();
    const int corners = 3 + static_cast<int>(random_() % 9);
    for (int i = 0; i < corners; ++i) {
      const float angle = 2 * std::numbers::pi_v<float> * static_cast<float>(i) / static_cast<float>(corners);
      const float reach = radius * (0.3F + unit());
      vertices.push_back(at[0] + reach * std::cos(angle));
      vertices.push_back(at[1] + reach * std::sin(angle));
    }
    return Math::Polygon<float>(vertices);
  }

  Math::Cylinder<float> cylinder() {
    Math::Cylinder<float> result{center(), direction(), size()};
    const float kind = unit();
    if (kind < 0.1F) result.direction = {{0, 0, 0}};
    if (kind > 0.8F) {
      for (int axis = 0; axis < 3; ++axis) result.direction[axis] *= 0.5F + unit();
    }
    return result;
  }

  Math::CylinderFinite<float> cylinderFinite() {
    const Point start = center();
    return {start, unit() < 0.05F ? start : center(), size()};
  }

 private:
  std::mt19937 random_;
  NBoundingBox<float, 3> box_;
  std::vector<Point> samples_;
  float longest_ = 0;
};

class RegionWalks : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    SORVIK_SAMPLE_OR_SKIP(folder, std::filesystem::path("potree") / GetParam());
    octree_ = std::make_shared<Octree::Octree>(std::make_shared<PoTree::FileSystemLocation>(folder), 1.0);
    cache_ = std::make_shared<Octree::OctreeNodeCache>(10'000);
  }

  ShapeSource shapes(unsigned seed) {
    std::vector<Point> samples;
    for (const auto& node : allNodes(octree_, cache_, 0)) {
      const Math::NodePoints& points = node->points();
      for (std::size_t i = 0; i < points.size(); i += 97) samples.push_back(pointAt(points, i));
    }
    return {seed, octree_->boundingBox(), std::move(samples)};
  }

  template <class Draw>
  void expectSameAsBruteForce(unsigned seed, const Draw& draw) {
    ShapeSource source = shapes(seed);
    const float spacing = octree_->spacing();
    for (int i = 0; i < kShapesPerKind; ++i) {
      const float minSpacing = i % 4 == 0 ? spacing * source.unit() : 0.0F;
      const auto shape = draw(source);
      Multiset expected;
      for (const auto& node : allNodes(octree_, cache_, minSpacing)) {
        const Math::NodePoints& points = node->points();
        for (std::size_t p = 0; p < points.size(); ++p) {
          if (accepts(shape, pointAt(points, p))) expected.add(points, p);
        }
      }
      EXPECT_EQ(walk(octree_, cache_, shape, minSpacing), expected)
          << "shape " << i << " of seed " << seed << ", least spacing " << minSpacing;
    }
  }

  OctreePtr octree_;
  CachePtr cache_;
};

TEST_P(RegionWalks, FindExactlyThePointsInsideBoxes) {
  expectSameAsBruteForce(1, [](ShapeSource& source) { return source.box<3>(); });
}
TEST_P(RegionWalks, FindExactlyThePointsInsideOrientedBoxes) {
  expectSameAsBruteForce(2, [](ShapeSource& source) { return source.orientedBox(); });
}
TEST_P(RegionWalks, FindExactlyThePointsInsideSpheres) {
  expectSameAsBruteForce(3, [](ShapeSource& source) { return source.sphere<3>(); });
}
TEST_P(RegionWalks, FindExactlyThePointsInsideCylinders) {
  expectSameAsBruteForce(4, [](ShapeSource& source) { return source.cylinder(); });
}
TEST_P(RegionWalks, FindExactlyThePointsInsideFiniteCylinders) {
  expectSameAsBruteForce(5, [](ShapeSource& source) { return source.cylinderFinite(); });
}
TEST_P(RegionWalks, FindExactlyThePointsInsideRectangles) {
  expectSameAsBruteForce(6, [](ShapeSource& source) { return source.box<2>(); });
}
TEST_P(RegionWalks, FindExactlyThePointsInsideOrientedRectangles) {
  expectSameAsBruteForce(7, [](ShapeSource& source) { return source.orientedRectangle(); });
}
TEST_P(RegionWalks, FindExactlyThePointsInsideCircles) {
  expectSameAsBruteForce(8, [](ShapeSource& source) { return source.sphere<2>(); });
}
TEST_P(RegionWalks, FindExactlyThePointsInsidePolygons) {
  expectSameAsBruteForce(9, [](ShapeSource& source) { return source.polygon(); });
}

INSTANTIATE_TEST_SUITE_P(RealClouds, RegionWalks,
                         testing::Values("autzen-trim-default", "autzen-trim-brotli", "deep-a-default",
                                         "deep-a-brotli", "andelskahora", "start_cloud"),
                         [](const auto& cloud) {
                           std::string name = cloud.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
