// The kd-tree of one node against nanoflann's on the same points: build, and searches within radii that give
// about 10, 100 and 2,000 points.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <nanoflann.hpp>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Rounds.h"
#include "math/PointKdTree.h"
#include "math/Sphere.h"

namespace {

using Tree = Math::PointKdTree<float, 3>;
using Sphere = Math::NSphere<float, 3>;

constexpr int kRounds = 15;
constexpr std::size_t kNumPoints = 20'000;  // one full node
constexpr std::size_t kNumQueries = 4'096;  // so many that no branch predictor learns them by heart
constexpr float kEdge = 25.0F;              // of the node's cube

/// A scan of hilly ground with a house and a tree on it, in metres, with 1 cm of noise, in no order.
std::vector<float> scannedSurface() {
  std::mt19937 random(20'000);
  std::uniform_real_distribution<float> unit(0.0F, 1.0F);
  std::normal_distribution<float> noise(0.0F, 0.01F);
  std::vector<float> positions;
  while (positions.size() < 3 * kNumPoints) {
    const float kind = unit(random);
    float x = kEdge * unit(random);
    float y = kEdge * unit(random);
    float z = 2.0F * std::sin(0.3F * x) + 1.5F * std::cos(0.4F * y);
    if (kind < 0.15F) {  // walls
      x = 8.0F + 8.0F * unit(random);
      y = unit(random) < 0.5F ? 8.0F : 16.0F;
      z = 6.0F * unit(random);
    } else if (kind < 0.3F) {  // roof
      x = 8.0F + 8.0F * unit(random);
      y = 8.0F + 8.0F * unit(random);
      z = 6.0F;
    } else if (kind < 0.37F) {  // tree
      x = 20.0F + 200.0F * noise(random);
      y = 20.0F + 200.0F * noise(random);
      z = 4.0F + 150.0F * noise(random);
    }
    for (const float coordinate : {x, y, z}) positions.push_back(coordinate + noise(random));
  }
  return positions;
}

/// nanoflann over interleaved positions, which must outlive it.
class Baseline {
 public:
  using Found = std::vector<std::pair<std::uint32_t, float>>;

  explicit Baseline(std::span<const float> positions)
      : points_{positions}, index_(3, points_, nanoflann::KDTreeSingleIndexAdaptorParams(20)) {
    index_.buildIndex();
  }

  void search(const Sphere& sphere, Found& found) const {
    nanoflann::SearchParams unsorted;
    unsorted.sorted = false;
    // Its radius is squared and excludes points exactly on it.
    const float beyond =
        std::nextafter(sphere.radius * sphere.radius, std::numeric_limits<float>::infinity());
    index_.radiusSearch(sphere.center.coordinates, beyond, found, unsorted);
  }

 private:
  struct Points {
    std::span<const float> positions;
    [[nodiscard]] std::size_t kdtree_get_point_count() const { return positions.size() / 3; }
    [[nodiscard]] float kdtree_get_pt(std::size_t index, std::size_t axis) const {
      return positions[3 * index + axis];
    }
    template <class Box>
    bool kdtree_get_bbox(Box& /*box*/) const {
      return false;
    }
  };
  using Distance = nanoflann::L2_Simple_Adaptor<float, Points>;

  Points points_;
  nanoflann::KDTreeSingleIndexAdaptor<Distance, Points, 3, std::uint32_t> index_;
};

/// Balls around points of the cloud.
std::vector<Sphere> queries(std::span<const float> positions, float radius) {
  std::mt19937 random(4'096);
  std::uniform_int_distribution<std::size_t> any(0, positions.size() / 3 - 1);
  std::vector<Sphere> spheres;
  for (std::size_t i = 0; i < kNumQueries; ++i) {
    const std::size_t at = 3 * any(random);
    spheres.push_back({{{positions[at], positions[at + 1], positions[at + 2]}}, radius});
  }
  return spheres;
}

std::size_t searchAll(const Tree& tree, std::span<const Sphere> spheres, std::vector<std::uint32_t>& found) {
  std::size_t total = 0;
  for (const Sphere& sphere : spheres) {
    found.clear();
    tree.search(sphere, found);
    benchmark::DoNotOptimize(found.data());
    total += found.size();
  }
  return total;
}

std::size_t searchAll(const Baseline& baseline, std::span<const Sphere> spheres, Baseline::Found& found) {
  std::size_t total = 0;
  for (const Sphere& sphere : spheres) {
    baseline.search(sphere, found);
    benchmark::DoNotOptimize(found.data());
    total += found.size();
  }
  return total;
}

bool sameAnswers(const Tree& tree, const Baseline& baseline, std::span<const Sphere> spheres) {
  std::vector<std::uint32_t> ours;
  std::vector<std::uint32_t> theirs;
  Baseline::Found found;
  for (const Sphere& sphere : spheres) {
    ours.clear();
    theirs.clear();
    tree.search(sphere, ours);
    baseline.search(sphere, found);
    for (const auto& [index, distanceSquared] : found) theirs.push_back(index);
    std::sort(ours.begin(), ours.end());
    std::sort(theirs.begin(), theirs.end());
    if (ours != theirs) return false;
  }
  return true;
}

/// Whether all answers agreed.
bool compareAll(std::span<const float> positions, std::span<const float> radii) {
  const Tree tree(positions);
  const Baseline baseline(positions);
  Bench::report("build, a point", "nanoflann",
                Bench::alternate(
                    kRounds, Bench::processorSeconds, [&] { return Tree(positions); },
                    [&] { return std::make_unique<Baseline>(positions); }),
                kNumPoints);
  std::vector<std::uint32_t> ours;
  Baseline::Found theirs;
  for (const float radius : radii) {
    const auto spheres = queries(positions, radius);
    if (!sameAnswers(tree, baseline, spheres)) {
      std::printf("radius %.2f: the answers differ\n", static_cast<double>(radius));
      return false;
    }
    char what[64];
    const double each =
        static_cast<double>(searchAll(tree, spheres, ours)) / static_cast<double>(kNumQueries);
    std::snprintf(what, sizeof what, "radius %.2f, %.1f points each", static_cast<double>(radius), each);
    Bench::report(what, "nanoflann",
                  Bench::alternate(
                      kRounds, Bench::processorSeconds, [&] { return searchAll(tree, spheres, ours); },
                      [&] { return searchAll(baseline, spheres, theirs); }),
                  kNumQueries);
  }
  return true;
}

template <class Index>
void registerBuild(const std::string& who, std::span<const float> positions) {
  benchmark::RegisterBenchmark(("build/" + who).c_str(), [positions](benchmark::State& state) {
    for ([[maybe_unused]] const auto round : state) benchmark::DoNotOptimize(Index(positions));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kNumPoints));  // points
  });
}

template <class Index, class Found>
void registerSearch(const std::string& who, std::span<const float> positions, float radius) {
  const std::string name = "search/" + who + "/radius:" + std::to_string(radius);
  benchmark::RegisterBenchmark(name.c_str(), [positions, radius](benchmark::State& state) {
    const Index index(positions);
    const auto spheres = queries(positions, radius);
    Found found;
    std::size_t total = 0;
    for ([[maybe_unused]] const auto round : state) total += searchAll(index, spheres, found);
    state.SetItemsProcessed(static_cast<std::int64_t>(total));  // points found
  });
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<float> positions = scannedSurface();
  const float radii[] = {0.38F, 1.22F, 5.6F};
  if (!compareAll(positions, radii)) return 1;
  registerBuild<Tree>("ours", positions);
  registerBuild<Baseline>("nanoflann", positions);
  for (const float radius : radii) {
    registerSearch<Tree, std::vector<std::uint32_t>>("ours", positions, radius);
    registerSearch<Baseline, Baseline::Found>("nanoflann", positions, radius);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
