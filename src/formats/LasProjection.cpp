#include "formats/LasProjection.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <span>
#include <string_view>

#include "core/ByteReader.h"
#include "formats/FieldText.h"

namespace Formats {
namespace {

// GeoTIFF 1.1 (OGC 19-008r4), 7.1 and annex B: the directory, its key ids, and codes that are EPSG's.
constexpr std::size_t kEntrySize = 4 * sizeof(std::uint16_t);
constexpr std::uint16_t kModelType = 1024;
constexpr std::uint16_t kCitation = 1026;
constexpr std::uint16_t kGeographicCode = 2048;
constexpr std::uint16_t kGeographicCitation = 2049;
constexpr std::uint16_t kProjectedCode = 3072;
constexpr std::uint16_t kProjectedCitation = 3073;
constexpr std::uint16_t kVerticalCode = 4096;

constexpr std::uint16_t kModelProjected = 1;
constexpr std::uint16_t kModelGeographic = 2;
constexpr std::uint16_t kModelGeocentric = 3;

constexpr std::uint16_t kFirstCode = 1024;
constexpr std::uint16_t kUserDefined = 32767;
constexpr std::uint16_t kTextLocation = 34737;

struct GeoKey {
  std::uint16_t location = 0;  ///< 0: the value is here; else the record that holds it
  std::uint16_t count = 0;
  std::uint16_t value = 0;  ///< or the index in that record
};

using GeoKeys = std::map<std::uint16_t, GeoKey>;

GeoKeys parseGeoKeys(std::span<const std::byte> directory, std::vector<std::string>& warnings) {
  const auto numberAt = [&](std::size_t offset) {
    return Core::loadLittleEndian<std::uint16_t>(directory.data() + offset);
  };
  GeoKeys keys;
  if (directory.size() < kEntrySize) {
    warnings.emplace_back("The GeoTIFF keys are cut short; they are left out.");
    return keys;
  }
  const std::size_t stated = numberAt(6);
  const std::size_t present = directory.size() / kEntrySize - 1;
  if (numberAt(0) != 1 || stated > present) {
    warnings.push_back("The GeoTIFF keys are damaged: version " + std::to_string(numberAt(0)) + ", " +
                       std::to_string(stated) + " keys stated, room for " + std::to_string(present) +
                       "; what can be read is used.");
  }
  for (std::size_t i = 1; i <= std::min(stated, present); ++i) {
    const std::size_t at = i * kEntrySize;
    keys.try_emplace(numberAt(at), GeoKey{numberAt(at + 2), numberAt(at + 4), numberAt(at + 6)});
  }
  return keys;
}

/// A key's number; 0, which means undefined, where there is none.
std::uint16_t codeOf(const GeoKeys& keys, std::uint16_t id) {
  const auto found = keys.find(id);
  return found != keys.end() && found->second.location == 0 ? found->second.value : std::uint16_t{0};
}

bool isEpsg(std::uint16_t code) { return code >= kFirstCode && code < kUserDefined; }

/// The first part of a key's text.
std::string textOf(const GeoKeys& keys, std::uint16_t id, std::span<const std::byte> texts,
                   std::vector<std::string>& warnings) {
  const auto found = keys.find(id);
  if (found == keys.end() || found->second.location != kTextLocation) return {};
  const GeoKey& key = found->second;
  if (key.value > texts.size() || key.count > texts.size() - key.value) {
    warnings.push_back("The text of GeoTIFF key " + std::to_string(id) + " is damaged; it is left out.");
    return {};
  }
  const std::string text = textOfField(texts.subspan(key.value, key.count));
  return text.substr(0, text.find('|'));
}

bool isGeographic(const GeoKeys& keys) {
  const std::uint16_t model = codeOf(keys, kModelType);
  return model == kModelGeographic || model == kModelGeocentric ||
         (model != kModelProjected && codeOf(keys, kProjectedCode) == 0);
}

/// "EPSG:" and the codes; empty where the system is user-defined or undefined.
std::string epsgOf(const GeoKeys& keys) {
  const std::uint16_t code = codeOf(keys, isGeographic(keys) ? kGeographicCode : kProjectedCode);
  if (!isEpsg(code)) return {};
  std::string text = "EPSG:" + std::to_string(code);
  const std::uint16_t vertical = codeOf(keys, kVerticalCode);
  if (isEpsg(vertical)) text += '+' + std::to_string(vertical);
  return text;
}

std::string citationOf(const GeoKeys& keys, std::span<const std::byte> texts,
                       std::vector<std::string>& warnings) {
  std::string own =
      textOf(keys, isGeographic(keys) ? kGeographicCitation : kProjectedCitation, texts, warnings);
  return own.empty() ? textOf(keys, kCitation, texts, warnings) : own;
}

std::string wktOf(const LasProjectionRecords& records) {
  std::string wkt = textOfField(records.wkt);
  return wkt.empty() ? textOfField(records.liblasWkt) : wkt;
}

}  // namespace

std::string projectionOf(const LasProjectionRecords& records, bool statesWkt,
                         std::vector<std::string>& warnings) {
  std::string wkt = wktOf(records);
  if (records.geoKeys.empty() || (statesWkt && !wkt.empty())) return wkt;
  const GeoKeys keys = parseGeoKeys(records.geoKeys, warnings);
  std::string epsg = epsgOf(keys);
  if (!epsg.empty()) return epsg;
  return wkt.empty() ? citationOf(keys, records.geoText, warnings) : wkt;
}

}  // namespace Formats
