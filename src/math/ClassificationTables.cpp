#include <algorithm>
#include <array>
#include <limits>
#include <string_view>
#include <vector>

#include "math/ClassificationInfo.h"

namespace Math {
namespace {

struct StandardClass {
  std::string_view name;
  Color color;
};

Color rgb(std::uint32_t hex) {
  const auto channel = [hex](unsigned shift) { return static_cast<std::uint8_t>(hex >> shift); };
  return {channel(16), channel(8), channel(0), 255};
}

/// Names: ASPRS, "LAS Specification 1.4 - R15", table 17. The colours are ours: what the thing looks like
/// where it has a colour of its own, greys for what says little, loud ones for what is to be left out.
std::array<StandardClass, 23> standardClasses() {
  return {{{"Created, Never Classified", rgb(0x8C8C8C)},
           {"Unclassified", rgb(0xB4B4B4)},
           {"Ground", rgb(0xA8763E)},
           {"Low Vegetation", rgb(0xB5D86A)},
           {"Medium Vegetation", rgb(0x5FB548)},
           {"High Vegetation", rgb(0x1F7A33)},
           {"Building", rgb(0xD9553F)},
           {"Low Point (Noise)", rgb(0xE0218A)},
           {"Reserved", rgb(0x6E7B8B)},
           {"Water", rgb(0x2F86D6)},
           {"Rail", rgb(0x8A5FA8)},
           {"Road Surface", rgb(0x5F5F66)},
           {"Reserved", rgb(0x7C8896)},
           {"Wire - Guard (Shield)", rgb(0xFFE066)},
           {"Wire - Conductor (Phase)", rgb(0xFFB000)},
           {"Transmission Tower", rgb(0xC77A00)},
           {"Wire-Structure Connector (Insulator)", rgb(0xFFD9A0)},
           {"Bridge Deck", rgb(0xC9B28F)},
           {"High Noise", rgb(0xFF5CCB)},
           {"Overhead Structure", rgb(0x3FBFB0)},
           {"Ignored Ground", rgb(0xD2A679)},
           {"Snow", rgb(0xEAF6FF)},
           {"Temporal Exclusion", rgb(0x7A6FD0)}}};
}

/// How bright a colour is, 0 to 255 (ITU-R BT.601).
int brightness(const Color& c) { return (299 * c.r() + 587 * c.g() + 114 * c.b()) / 1000; }

/// The square of a difference as eyes see it, times 256: red counts more where there is much of it, blue
/// where there is little ("redmean"). In whole numbers, so that every machine chooses the same colours.
int difference(const Color& a, const Color& b) {
  const int meanRed = (a.r() + b.r()) / 2;
  const int dr = a.r() - b.r();
  const int dg = a.g() - b.g();
  const int db = a.b() - b.b();
  return (512 + meanRed) * dr * dr + 1024 * dg * dg + (767 - meanRed) * db * db;
}

/// A grid over all colours but those that are hard to see on black or on white.
std::vector<Color> readableColors() {
  constexpr int kStep = 15;  // 18 values a channel, 0 and 255 among them
  std::vector<Color> colors;
  for (int r = 0; r <= 255; r += kStep) {
    for (int g = 0; g <= 255; g += kStep) {
      for (int b = 0; b <= 255; b += kStep) {
        const Color color(static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g),
                          static_cast<std::uint8_t>(b), 255);
        if (brightness(color) >= 70 && brightness(color) <= 215) colors.push_back(color);
      }
    }
  }
  return colors;
}

/// The first is red; each next one is, of all that are left, the farthest from the nearest chosen one.
std::vector<Color> distinctColors(std::size_t count) {
  const std::vector<Color> candidates = readableColors();
  std::vector<int> distances(candidates.size(), std::numeric_limits<int>::max());
  std::vector<Color> chosen{Color(255, 0, 0, 255)};
  while (chosen.size() < count) {
    for (std::size_t i = 0; i < candidates.size(); ++i) {
      distances[i] = std::min(distances[i], difference(candidates[i], chosen.back()));
    }
    const auto farthest = std::max_element(distances.begin(), distances.end());
    chosen.push_back(candidates[static_cast<std::size_t>(farthest - distances.begin())]);
  }
  return chosen;
}

}  // namespace

ClassificationInfo ClassificationInfo::standardASPRSClasses() {
  ClassificationInfo table;
  std::size_t id = 0;
  for (const StandardClass& standard : standardClasses()) {
    table.add(id++, standard.color, std::string(standard.name), true);
  }
  return table;
}

ClassificationInfo ClassificationInfo::randomColoredClasses(std::size_t count) {
  const std::vector<Color> colors = distinctColors(count);
  ClassificationInfo table;
  for (std::size_t id = 0; id < count; ++id) table.add(id, colors[id], "Class " + std::to_string(id), true);
  return table;
}

}  // namespace Math
