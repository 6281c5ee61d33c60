// Region walks over a cloud of ten million points on a warm cache. Spheres: against one nanoflann tree over
// all points, which gives indices where the walk gives all attributes. Boxes and polygons: against a
// vectorised pass over all points. Then whole walks on 1, 2 and 16 threads.
//   walk_bench [POINTS]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nanoflann.hpp>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

#include "Rounds.h"
#include "math/Polygon.h"
#include "math/Sphere.h"
#include "octree/QueryPoints.h"
#include "octree/potree/FileSystemLocation.h"
#include "support/OctreeBuilder.h"
#include "support/PointRecords.h"
#include "support/TempFolder.h"

namespace {

using Sphere = Math::NSphere<float, 3>;
using Box = Math::NBoundingBox<float, 3>;

/// All positions by axis, in the order of the walk.
struct Positions {
  std::vector<float> axes[3];

  [[nodiscard]] std::size_t kdtree_get_point_count() const { return axes[0].size(); }
  [[nodiscard]] float kdtree_get_pt(std::size_t index, std::size_t axis) const { return axes[axis][index]; }
  template <class AnyBox>
  bool kdtree_get_bbox(AnyBox& /*box*/) const {
    return false;
  }
};

using Nanoflann = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, Positions>,
                                                      Positions, 3, std::uint32_t>;

struct Cloud {
  std::shared_ptr<Octree::Octree> octree;
  std::shared_ptr<Octree::OctreeNodeCache> cache = std::make_shared<Octree::OctreeNodeCache>(10'000);

  explicit Cloud(const std::filesystem::path& folder)
      : octree(std::make_shared<Octree::Octree>(std::make_shared<PoTree::FileSystemLocation>(folder), 1.0)) {}

  /// Calls use(points) for every chunk.
  template <class Shape, class Use>
  void walk(const Shape& shape, const Use& use) const {
    const Octree::Algorithm::QueryPointsInsideIterator<Shape> end;
    for (auto it = Octree::allPointsInside(octree, cache, shape, 0, {}); !(it == end); ++it)
      use((*it)->points());
  }
  template <class Use>
  void walkAll(const Use& use) const {
    const Octree::Algorithm::QueryPointsIterator end;
    for (auto it = Octree::allPoints(octree, cache, 0, {}); !(it == end); ++it) use((*it)->points());
  }
  template <class Shape>
  [[nodiscard]] std::size_t count(const Shape& shape) const {
    std::size_t points = 0;
    walk(shape, [&](const Math::NodePoints& chunk) { points += chunk.size(); });
    return points;
  }
};

Positions allPositions(const Cloud& cloud) {
  Positions all;
  cloud.walkAll([&](const Math::NodePoints& points) {
    for (std::size_t i = 0; i < points.positions().size(); ++i)
      all.axes[i % 3].push_back(points.positions()[i]);
  });
  return all;
}

/// Balls around points, as large as makes them hold about @p target points each.
std::vector<Sphere> spheres(const Cloud& cloud, const Positions& all, std::size_t target, std::size_t count) {
  std::mt19937 random(static_cast<unsigned>(target));
  std::vector<Sphere> result;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = random() % all.axes[0].size();
    Sphere sphere{{{all.axes[0][at], all.axes[1][at], all.axes[2][at]}}, 0};
    float low = 0;
    float high = 4000;
    for (int step = 0; step < 14; ++step) {
      sphere.radius = (low + high) / 2;
      (cloud.count(sphere) < target ? low : high) = sphere.radius;
    }
    result.push_back(sphere);
  }
  return result;
}

void benchSpheres(const Cloud& cloud, const Positions& all, const Nanoflann& nanoflann, double share) {
  const auto target = static_cast<std::size_t>(share * static_cast<double>(all.axes[0].size()));
  const std::vector<Sphere> queries = spheres(cloud, all, target, share < 0.001 ? 200 : share < 0.1 ? 20 : 4);
  const auto ours = [&] {
    std::size_t found = 0;
    for (const Sphere& sphere : queries) found += cloud.count(sphere);
    return found;
  };
  const auto theirs = [&] {
    nanoflann::SearchParams unsorted;
    unsorted.sorted = false;
    std::vector<std::pair<std::uint32_t, float>> pairs;
    std::size_t found = 0;
    for (const Sphere& sphere : queries) {
      const float beyond = std::nextafter(sphere.radius * sphere.radius, 1e30F);
      found += nanoflann.radiusSearch(sphere.center.coordinates, beyond, pairs, unsorted);
    }
    return found;
  };
  if (ours() != theirs()) {
    std::printf("spheres of %g: the answers differ\n", share);
    std::exit(1);
  }
  char what[64];
  std::snprintf(what, sizeof what, "sphere with %g %% of the points", share * 100);
  Bench::report(what, "nanoflann", Bench::alternate(9, Bench::wallSeconds, ours, theirs), queries.size());
}

/// For conditions that are joined without branches.
unsigned bit(bool condition) { return condition ? 1U : 0U; }

/// Marks the points inside; plain loops over columns that the compiler turns into vector code.
std::size_t bruteForce(const Positions& all, const Box& box, std::vector<std::uint8_t>& marks) {
  const float* const x = all.axes[0].data();
  const float* const y = all.axes[1].data();
  const float* const z = all.axes[2].data();
  std::size_t found = 0;
  for (std::size_t i = 0; i < marks.size(); ++i) {
    marks[i] = static_cast<std::uint8_t>(bit(box.minimum[0] <= x[i]) & bit(x[i] <= box.maximum[0]) &
                                         bit(box.minimum[1] <= y[i]) & bit(y[i] <= box.maximum[1]) &
                                         bit(box.minimum[2] <= z[i]) & bit(z[i] <= box.maximum[2]));
  }
  for (const std::uint8_t mark : marks) found += mark;
  return found;
}

std::size_t bruteForce(const Positions& all, const Math::Polygon<float>& polygon,
                       std::vector<std::uint8_t>& marks) {
  const float* const x = all.axes[0].data();
  const float* const y = all.axes[1].data();
  std::fill(marks.begin(), marks.end(), std::uint8_t{0});
  const auto ring = polygon.ring();
  for (std::size_t k = 0; k + 1 < ring.size(); ++k) {
    const Math::Point<float, 2> a = ring[k + 1];
    const Math::Point<float, 2> b = ring[k];
    if (a[1] == b[1]) continue;
    for (std::size_t i = 0; i < marks.size(); ++i) {
      const unsigned crosses = bit((y[i] < a[1]) != (y[i] < b[1])) &
                               bit(x[i] < (y[i] - a[1]) * (b[0] - a[0]) / (b[1] - a[1]) + a[0]);
      marks[i] = static_cast<std::uint8_t>(marks[i] ^ crosses);
    }
  }
  std::size_t found = 0;
  for (const std::uint8_t mark : marks) found += mark;
  return found;
}

template <class Shape>
void benchAgainstBruteForce(const char* what, const Cloud& cloud, const Positions& all, const Shape& shape) {
  std::vector<std::uint8_t> marks(all.axes[0].size());
  const auto ours = [&] { return cloud.count(shape); };
  const auto theirs = [&] { return bruteForce(all, shape, marks); };
  const std::size_t found = ours();
  if (found != theirs()) {
    std::printf("%s: the answers differ\n", what);
    std::exit(1);
  }
  char text[64];
  std::snprintf(text, sizeof text, "%s, %zu points", what, found);
  Bench::report(text, "all points", Bench::alternate(9, Bench::wallSeconds, ours, theirs), 1);
}

/// Every thread walks the whole cloud and sums all positions.
void benchThreads(const Cloud& cloud, std::size_t points) {
  const auto walkOn = [&](unsigned threads) {
    constexpr unsigned kWalks = 16;  // in all
    std::vector<std::jthread> running;
    for (unsigned t = 0; t < threads; ++t) {
      running.emplace_back([&] {
        for (unsigned walk = 0; walk < kWalks / threads; ++walk) {
          double sum = 0;
          const Cloud copy = cloud;
          copy.walkAll([&](const Math::NodePoints& chunk) {
            for (const float coordinate : chunk.positions()) sum += static_cast<double>(coordinate);
          });
          if (!(sum > 0)) std::abort();
        }
      });
    }
    running.clear();
    return 0;
  };
  for (const unsigned threads : {2U, 16U}) {
    char what[64];
    std::snprintf(what, sizeof what, "16 walks on %u threads, a point", threads);
    const auto many = [&] { return walkOn(threads); };
    const auto one = [&] { return walkOn(1); };
    Bench::report(what, "one thread", Bench::alternate(5, Bench::wallSeconds, many, one), points * 16);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::size_t points = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 10'000'000;
  const Testing::TempFolder folder;
  Testing::buildOctree(Testing::surveyRecords(points, 1), PoTree::Encoding::Uncompressed,
                       folder.path() / "cloud");
  const Cloud cloud(folder.path() / "cloud");
  const Positions all = allPositions(cloud);
  std::printf("%zu points\n", all.axes[0].size());
  if (all.axes[0].size() != points) return 1;
  {
    Nanoflann nanoflann(3, all, nanoflann::KDTreeSingleIndexAdaptorParams(20));
    nanoflann.buildIndex();
    for (const double share : {0.0001, 0.01, 0.2}) benchSpheres(cloud, all, nanoflann, share);
  }
  const Box bounds = cloud.octree->boundingBox();
  for (const float part : {0.02F, 0.2F}) {
    Box box = bounds;
    std::vector<float> star;
    for (int axis = 0; axis < 2; ++axis) {
      const float half = bounds.size()[axis] * part / 2;
      box.minimum[axis] = bounds.center()[axis] - half;
      box.maximum[axis] = bounds.center()[axis] + half;
    }
    for (int i = 0; i < 12; ++i) {
      const float angle = std::numbers::pi_v<float> * static_cast<float>(i) / 6;
      const float reach = bounds.size()[0] * part * (i % 2 == 0 ? 0.8F : 0.4F);
      star.push_back(bounds.center()[0] + reach * std::cos(angle));
      star.push_back(bounds.center()[1] + reach * std::sin(angle));
    }
    benchAgainstBruteForce("box", cloud, all, box);
    benchAgainstBruteForce("polygon", cloud, all, Math::Polygon<float>(star));
  }
  benchThreads(cloud, points);
}
