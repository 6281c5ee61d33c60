#include "converter/TreePoints.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "sample/RandomBits.h"

namespace Testing {

using Converter::StoredPosition;

Converter::RawBytes numberedRecords(const std::vector<StoredPosition>& places) {
  Converter::RawBytes records(places.size() * kNumberedStride);
  for (std::size_t i = 0; i < places.size(); ++i) {
    std::byte* const record = records.data() + i * kNumberedStride;
    const auto number = static_cast<std::uint32_t>(i);
    std::memcpy(record, places[i].data(), sizeof places[i]);
    std::memcpy(record + sizeof places[i], &number, sizeof number);
  }
  return records;
}

std::vector<std::vector<StoredPosition>> treeClouds(unsigned edgeBits) {
  constexpr std::size_t kPoints = 3'000;
  const double edge = std::ldexp(1.0, static_cast<int>(edgeBits));
  Sample::RandomBits random(edgeBits);
  const auto stored = [&](double share) {
    return static_cast<std::uint32_t>(std::clamp(std::floor(share * edge), 0.0, edge - 1));
  };
  std::vector<std::vector<StoredPosition>> clouds(5);
  for (std::size_t i = 0; i < kPoints; ++i) {
    const double size = std::exp2(-(edgeBits - 2.0) * random.unit());
    const double centre = i % 2 == 0 ? 0.5 : 0.123;
    const auto near = [&] { return stored(centre + size * (random.unit() - 0.5)); };
    clouds[0].push_back({near(), near(), near()});
    const double u = random.unit();
    const double v = random.unit();
    clouds[1].push_back({stored(u / 30), stored(v / 30), stored((2 + std::sin(200 * u)) / 100)});
    clouds[2].push_back({stored(random.unit() / 50), stored(random.unit() / 50), stored(random.unit() / 50)});
    clouds[3].push_back({stored(u / 10), stored(0.7), stored(u / 10)});
    clouds[4].push_back(clouds[0][static_cast<std::size_t>(v * v * static_cast<double>(i))]);
  }
  return clouds;
}

Place placeOf(const Converter::SortedPoints& points, std::size_t i) {
  const StoredPosition p = Converter::positionOf(points.record(i));
  return {double(p[0]), double(p[1]), double(p[2])};
}

}  // namespace Testing
